// The functions that the controller library can call in the host, called like the library does: by
// the pointers in the records.

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <thread>

#include "framework/exception/exception_filter.h"
#include "tarnwick-service/orrin_ctrl_loader.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "tests/tarnwick-service/fake_controller.h"
#include "tests/tarnwick-service/status_recorder.h"
#include "tests/tarnwick-service/test_service.h"

namespace tarnwick {
namespace {

using test::Describe;
using test::ErrorLine;
using test::ExpectedReport;
using test::FailedStatusLine;
using test::Lines;
using test::LoaderLayout;
using test::ShutdownOnly;
using test::StatusLine;
using test::TraceLine;
using Reports = std::vector<ExpectedReport>;

constexpr std::size_t LogSinkAt = LoaderLayout::Params + 8;
constexpr std::size_t LogFlushAt = LoaderLayout::Params + 16;
constexpr std::size_t InterruptAt = LoaderLayout::Params + 32;
constexpr std::size_t RegisterAt = LoaderLayout::Params + 48;
constexpr std::size_t EnableStopAt = LoaderLayout::Interaction + 48;
constexpr std::size_t SetPreExceptionAt = LoaderLayout::Exception + 48;
constexpr std::size_t RemovePreExceptionAt = LoaderLayout::Exception + 56;

/// A word that the host must not read as a pointer.
void* Unread() {
    return reinterpret_cast<void*>(std::uintptr_t{0xBAD0});
}

class Callbacks : public testing::Test {
  protected:
    Callbacks() { log.Clear(); }

    template <class Function>
    [[nodiscard]] Function At(std::size_t offset) const {
        return controller.AtCreate().At<Function>(offset);
    }
    void Log(std::uint32_t level, const wchar_t* component, const wchar_t* message) const {
        At<test::LogSink>(LogSinkAt)(Unread(), level, component, message);
    }

    test::LogCapture log;
    test::ScopedHook<test::CoInitializeExHook> initializeHook{[](auto...) { return S_OK; }};
    test::ScopedHook<test::CoUninitializeHook> uninitializeHook{[] {}};
    test::FakeController controller;
    OrrinLoader loader;
};

// ---- The log sink

TEST_F(Callbacks, LibraryLevels_AreMappedAndAllOthersAreVerbose) {
    for (const std::uint32_t level : {0U, 1U, 2U, 3U, 4U, 7U, 8U, 0xFFFFFFFFU}) {
        Log(level, L"probe", L"text");
    }
    EXPECT_EQ(log.Lines(), (Lines{L"[T][probe] text", L"[W][probe] text", L"[E][probe] text",
                                  L"[V][probe] text", L"[V][probe] text", L"[V][probe] text",
                                  L"[V][probe] text", L"[V][probe] text"}));
}

TEST(MaskedCallbacks, LibraryLines_PassTheMaskOfTheirLoggerLevel) {
    for (std::uint32_t mask = 0; mask < 16; ++mask) {
        SCOPED_TRACE(mask);
        framework::LoggerConfig config = test::QuietConfig();
        config.TraceLevelsMask = mask;
        const test::LogCapture log(config);
        for (const std::uint32_t level : {0U, 1U, 2U, 7U}) {
            OrrinLoader::OrrinLoggingCallback(nullptr, level, L"probe", L"text");
        }
        Lines expected;
        for (const auto& [bit, tag] : {std::pair{4U, L"T"}, {2U, L"W"}, {1U, L"E"}, {8U, L"V"}}) {
            if ((mask & bit) != 0) {
                expected.push_back(std::wstring(L"[") + tag + L"][probe] text");
            }
        }
        EXPECT_EQ(log.Lines(), expected);
    }
}

TEST_F(Callbacks, NullMessage_WritesNothing) {
    Log(2, L"probe", nullptr);
    Log(2, nullptr, nullptr);
    EXPECT_EQ(log.Lines(), Lines{});
}

TEST_F(Callbacks, EmptyMessage_WritesAnEmptyRecord) {
    Log(0, L"probe", L"");
    EXPECT_EQ(log.Lines(), Lines{L"[T][probe] "});
}

TEST_F(Callbacks, NullComponent_IsTheHostsOwnAndAnEmptyOneStaysEmpty) {
    Log(0, nullptr, L"first");
    Log(0, L"", L"second");
    EXPECT_EQ(log.Lines(), (Lines{L"[T][quillon] first", L"[T][] second"}));
}

TEST_F(Callbacks, PercentSigns_AreWrittenAsTheyStand) {
    Log(0, L"probe", L"%s %n %d %% 100% %");
    Log(1, L"%s", L"text");
    EXPECT_EQ(log.Lines(), (Lines{L"[T][probe] %s %n %d %% 100% %", L"[W][%s] text"}));
}

TEST_F(Callbacks, LineFeedAtTheEnd_IsNotDoubled) {
    Log(0, L"probe", L"text\n");
    EXPECT_EQ(log.Lines(), Lines{L"[T][probe] text"});
}

TEST_F(Callbacks, LinesOfSeveralThreads_AllArriveWhole) {
    constexpr int Threads = 4;
    constexpr int LinesEach = 50;
    std::vector<std::thread> threads;
    Lines expected;
    for (int thread = 0; thread < Threads; ++thread) {
        const std::wstring component = L"thread" + std::to_wstring(thread);
        for (int line = 0; line < LinesEach; ++line) {
            expected.push_back(L"[T][" + component + L"] line " + std::to_wstring(line));
        }
        threads.emplace_back([this, component] {
            for (int line = 0; line < LinesEach; ++line) {
                Log(0, component.c_str(), (L"line " + std::to_wstring(line)).c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Lines lines = log.Lines();
    std::sort(lines.begin(), lines.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(lines, expected);
}

TEST_F(Callbacks, LogFlush_ForcesTheOneLogFile) {
    int flushes = 0;
    const test::ScopedHook<test::FlushFileBuffersHook> hook([&](HANDLE file) {
        ++flushes;
        return test::FlushFileBuffersHook::Real(file);
    });
    At<test::PlainCallback>(LogFlushAt)();
    EXPECT_EQ(flushes, 1);
}

// ---- The registration of the host's interfaces

struct RegistrationCase {
    std::uint32_t interaction;
    std::uint32_t exception;
    Lines lines;
};

void PrintTo(const RegistrationCase& value, std::ostream* out) {
    *out << "codes " << value.interaction << " and " << value.exception;
}

class Registration : public Callbacks, public testing::WithParamInterface<RegistrationCase> {};

std::wstring RegistrationError(const wchar_t* name, const wchar_t* code) {
    return ErrorLine(std::wstring(L"RegisterInterface for ") + name + L" failed with error " +
                     code);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, Registration,
    testing::Values(
        RegistrationCase{0, 0, {}},
        RegistrationCase{5, 0, {RegistrationError(L"QuillonInteractionInterface", L"5")}},
        RegistrationCase{0, 6, {RegistrationError(L"QuillonExceptionInterface", L"6")}},
        RegistrationCase{0xFFFFFFFF,
                         0x80000000,
                         {RegistrationError(L"QuillonInteractionInterface", L"4294967295"),
                          RegistrationError(L"QuillonExceptionInterface", L"2147483648")}}));

TEST_P(Registration, BothAreRegisteredAndTheSecondCodeIsTheResult) {
    test::FakeRegistrar registrar;
    registrar.results = {GetParam().interaction, GetParam().exception};
    const auto entry = At<test::RegisterEntry>(RegisterAt);
    const auto context = At<void*>(LoaderLayout::Params + 56);
    EXPECT_EQ(entry(registrar.Row(), Unread(), Unread(), context), GetParam().exception);
    EXPECT_EQ(log.Lines(), GetParam().lines);
    ASSERT_EQ(registrar.registrations.size(), 2U);
    for (const auto& registration : registrar.registrations) {
        EXPECT_EQ(registration.self, registrar.Row());
        EXPECT_EQ(registration.component, controller.Loader() + LoaderLayout::HostComponent);
    }
    EXPECT_EQ(registrar.registrations[0].interfaceRecord,
              controller.Loader() + LoaderLayout::Interaction);
    EXPECT_EQ(registrar.registrations[1].interfaceRecord,
              controller.Loader() + LoaderLayout::Exception);
}

// ---- The callbacks that change the service's state

class ServiceCallbacks : public Callbacks {
  protected:
    void TearDown() override { WindowsServiceBase::ResetInstance(); }

    test::StatusRecorder statuses;
    std::shared_ptr<test::TestService> service = test::TestService::Create();
};

TEST_F(ServiceCallbacks, Interrupt_ReportsStoppedWithItsCodeAndCallsNothing) {
    service->SetServiceStatusSafe(SERVICE_RUNNING, 0, 0);
    log.Clear();
    statuses.Clear();
    controller.ClearEvents();
    At<test::PlainCallback>(InterruptAt)();
    const ExpectedReport report = {SERVICE_STOPPED, 713, 0, 0, ShutdownOnly};
    EXPECT_EQ(statuses.Reports(), Describe(Reports{report}));
    EXPECT_EQ(log.Lines(), (Lines{ErrorLine(L"Intterrupt Callback occur"),
                                  StatusLine(L"SERVICE_STOPPED", report)}));
    EXPECT_TRUE(controller.Events().empty());
    EXPECT_EQ(service.use_count(), 2) << "the callback keeps a reference";
}

TEST_F(ServiceCallbacks, InterruptWithoutAStatusHandle_LeavesAnErrorAndATraceLine) {
    statuses.FailWith(ERROR_INVALID_HANDLE);
    At<test::PlainCallback>(InterruptAt)();
    const ExpectedReport report = {SERVICE_STOPPED, 713, 0, 0, ShutdownOnly};
    EXPECT_EQ(log.Lines(), (Lines{ErrorLine(L"Intterrupt Callback occur"),
                                  FailedStatusLine(L"SERVICE_STOPPED", report, 6),
                                  StatusLine(L"SERVICE_STOPPED", report)}));
}

TEST_F(ServiceCallbacks, EnableServiceStop_ReportsTheStopBitEachTime) {
    const auto enable = At<test::EnableStop>(EnableStopAt);
    EXPECT_EQ(enable(), 0U);
    EXPECT_EQ(enable(), 0U);
    const ExpectedReport report = {SERVICE_STOPPED, 0, 0, 0, 5};
    EXPECT_EQ(statuses.Reports(), Describe(Reports{report, report}));
    const Lines once = {TraceLine(L"Enable service stop ORRIN request occur"),
                        TraceLine(L"WindowsServiceBase->EnableStopFromSCM: SERVICE_ACCEPT_STOP "
                                  L"set")};
    EXPECT_EQ(log.Lines(), (Lines{once[0], once[1], once[0], once[1]}));
    EXPECT_EQ(service.use_count(), 2) << "the callback keeps a reference";
}

TEST_F(ServiceCallbacks, RefusedEnable_GivesTheErrorAndNoTraceLine) {
    statuses.FailWith(6);
    EXPECT_EQ(At<test::EnableStop>(EnableStopAt)(), 6U);
    EXPECT_EQ(log.Lines(),
              (Lines{TraceLine(L"Enable service stop ORRIN request occur"),
                     FailedStatusLine(L"SERVICE_STOPPED", {SERVICE_STOPPED, 0, 0, 0, 5}, 6)}));
}

// ---- The pre-exception callback. The stored value shows when the filter runs; the filter is
// prevented from writing a dump, so it returns.

class PreExceptionCallbacks : public Callbacks {
  protected:
    using Contexts = std::vector<std::pair<char, void*>>;

    void SetUp() override { calls.clear(); }
    void TearDown() override { framework::ExceptionFilter::RemovePreExceptionCallback(); }

    std::uint32_t Set(test::PreException callback, void* context) const {
        return At<test::SetPreException>(SetPreExceptionAt)(Unread(), callback, context);
    }
    std::uint32_t Remove() const { return At<test::RemovePreException>(RemovePreExceptionAt)(); }
    static void RunFilter() {
        const test::ScopedHook<test::GetModuleFileNameWHook> noDump([](auto...) -> DWORD {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return 0;
        });
        EXCEPTION_RECORD record = {};
        EXCEPTION_POINTERS pointers = {&record, nullptr};
        EXPECT_EQ(framework::ExceptionFilter::ExceptionProcessing(&pointers),
                  EXCEPTION_CONTINUE_SEARCH);
    }
    static void First(void* context) { calls.emplace_back('1', context); }
    static void Second(void* context) { calls.emplace_back('2', context); }

    int firstContext = 0;
    int secondContext = 0;
    inline static Contexts calls;
};

TEST_F(PreExceptionCallbacks, Set_MakesTheFilterCallItWithItsContext) {
    EXPECT_EQ(Set(First, &firstContext), 0U);
    EXPECT_EQ(log.Lines(), Lines{TraceLine(L"SetPreExceptionCallback called")});
    RunFilter();
    EXPECT_EQ(calls, (Contexts{{'1', &firstContext}}));
}

TEST_F(PreExceptionCallbacks, SecondSet_ReplacesTheFirstWithoutNotice) {
    EXPECT_EQ(Set(First, &firstContext), 0U);
    EXPECT_EQ(Set(Second, &secondContext), 0U);
    EXPECT_EQ(log.Lines(), (Lines{TraceLine(L"SetPreExceptionCallback called"),
                                  TraceLine(L"SetPreExceptionCallback called")}));
    RunFilter();
    EXPECT_EQ(calls, (Contexts{{'2', &secondContext}}));
}

TEST_F(PreExceptionCallbacks, NullFunction_IsStoredLikeAnyOther) {
    EXPECT_EQ(Set(First, &firstContext), 0U);
    EXPECT_EQ(Set(nullptr, &firstContext), 0U);
    RunFilter();
    EXPECT_TRUE(calls.empty());
}

TEST_F(PreExceptionCallbacks, Remove_ClearsItAndSaysSo) {
    EXPECT_EQ(Set(First, &firstContext), 0U);
    log.Clear();
    EXPECT_EQ(Remove(), 0U);
    EXPECT_EQ(log.Lines(), Lines{TraceLine(L"RemovePreExceptionCallback called")});
    RunFilter();
    EXPECT_TRUE(calls.empty());
}

TEST_F(PreExceptionCallbacks, RemoveWithoutACallback_SucceedsToo) {
    EXPECT_EQ(Remove(), 0U);
    EXPECT_EQ(log.Lines(), Lines{TraceLine(L"RemovePreExceptionCallback called")});
}

TEST(PreExceptionCallbackOfAFreedController, IsNotClearedByTheHost) {
    static int calls;
    calls = 0;
    {
        const test::ScopedHook<test::CoInitializeExHook> initialize([](auto...) { return S_OK; });
        const test::ScopedHook<test::CoUninitializeHook> uninitialize([] {});
        const test::FakeController controller;
        const OrrinLoader loader;
        controller.AtCreate().At<test::SetPreException>(SetPreExceptionAt)(
            nullptr, [](void*) { ++calls; }, nullptr);
    }
    const test::ScopedHook<test::GetModuleFileNameWHook> noDump([](auto...) -> DWORD {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return 0;
    });
    EXCEPTION_RECORD record = {};
    EXCEPTION_POINTERS pointers = {&record, nullptr};
    framework::ExceptionFilter::ExceptionProcessing(&pointers);
    EXPECT_EQ(calls, 1);
    framework::ExceptionFilter::RemovePreExceptionCallback();
}

}  // namespace
}  // namespace tarnwick
