#include "tarnwick-service/orrin_ctrl_loader.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>

#include "framework/logger/logger.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "tests/tarnwick-service/fake_controller.h"

namespace tarnwick {
namespace {

using test::ErrorLine;
using test::Lines;
using test::LoaderLayout;
using test::RecordBytes;
using test::TraceLine;
using test::WarningLine;
using Events = std::vector<std::string>;

constexpr DWORD InternalError = 1359;

class Loader : public testing::Test {
  protected:
    /// Creates the loader and clears the recorded calls.
    void Make() {
        loader.emplace();
        controller.ClearEvents();
        log.Clear();
    }

    test::LogCapture log;
    test::FakeController controller;
    HRESULT comResult = S_OK;
    test::ScopedHook<test::CoInitializeExHook> initializeHook{[this](void* reserved, DWORD model) {
        EXPECT_EQ(reserved, nullptr);
        EXPECT_EQ(model, 0U);
        controller.Note("CoInitializeEx");
        return comResult;
    }};
    test::ScopedHook<test::CoUninitializeHook> uninitializeHook{
        [this] { controller.Note("CoUninitialize"); }};
    std::optional<OrrinLoader> loader;
};

TEST_F(Loader, Life_GoesFromComToComInOrder) {
    loader.emplace();
    loader.reset();
    EXPECT_EQ(controller.Events(), (Events{"CoInitializeEx", "create", "free", "CoUninitialize"}));
    EXPECT_EQ(log.Lines(), (Lines{TraceLine(L"CoInitializeEx successed"),
                                  TraceLine(L"OrrinFreeComponentModelController successed")}));
}

TEST_F(Loader, ControllerParams_StandAsTheLibraryExpectsThem) {
    loader.emplace();
    const auto address = reinterpret_cast<std::uintptr_t>(&*loader);
    EXPECT_EQ(controller.ParamsArgument(), address + LoaderLayout::Params);
    EXPECT_EQ(controller.OutArgument(), address + LoaderLayout::Controller);
    const RecordBytes params = controller.AtCreate().Part(LoaderLayout::Params, 80);
    EXPECT_EQ(params.At<std::uint32_t>(0), 2U);
    EXPECT_EQ(params.At<std::uint32_t>(4), 0U);
    EXPECT_EQ(params.At<test::LogSink>(8), &OrrinLoader::OrrinLoggingCallback);
    EXPECT_EQ(params.At<test::PlainCallback>(16), &framework::LogFlush);
    EXPECT_EQ(params.Word(56), address);
    for (const std::size_t zero : {24U, 40U, 64U, 72U}) {
        EXPECT_EQ(params.Word(zero), 0U) << "at " << zero;
    }
    for (const std::size_t function : {32U, 48U}) {
        EXPECT_NE(params.Word(function), 0U) << "at " << function;
    }
    EXPECT_NE(params.Word(32), params.Word(48));
}

TEST_F(Loader, HostComponent_HasItsNameAndOneFunctionAndZeroes) {
    loader.emplace();
    const RecordBytes component = controller.AtCreate().Part(LoaderLayout::HostComponent, 88);
    EXPECT_STREQ(component.At<const char*>(0), "Quillon");
    for (std::size_t zero = 8; zero < 88; zero += 8) {
        if (zero != 24) {
            EXPECT_EQ(component.Word(zero), 0U) << "at " << zero;
        }
    }
    // Empty: it can be called at any time.
    const auto callback = component.At<test::PlainCallback>(24);
    ASSERT_NE(callback, nullptr);
    log.Clear();
    callback();
    EXPECT_EQ(log.Lines(), Lines{});
}

TEST_F(Loader, Interfaces_HaveTheSameHeadAndTheirFunctions) {
    loader.emplace();
    const auto address = reinterpret_cast<std::uintptr_t>(&*loader);
    const RecordBytes interaction = controller.AtCreate().Part(LoaderLayout::Interaction, 56);
    const RecordBytes exception = controller.AtCreate().Part(LoaderLayout::Exception, 64);
    EXPECT_STREQ(interaction.At<const char*>(0), "quillon_interaction");
    EXPECT_STREQ(exception.At<const char*>(0), "quillon_exception");
    for (const RecordBytes& record : {interaction, exception}) {
        EXPECT_EQ(record.Word(8), 1U);
        EXPECT_EQ(record.Word(16), address);
        for (const std::size_t zero : {24U, 32U, 40U}) {
            EXPECT_EQ(record.Word(zero), 0U) << "at " << zero;
        }
        EXPECT_NE(record.Word(48), 0U);
    }
    EXPECT_NE(exception.Word(56), 0U);
}

TEST_F(Loader, Flags_FollowComAndTheCreateCall) {
    loader.emplace();
    // At the create call COM is initialised and there is no controller.
    EXPECT_EQ(controller.AtCreate().At<std::uint8_t>(LoaderLayout::Initialized), 0U);
    EXPECT_EQ(controller.AtCreate().At<std::uint8_t>(LoaderLayout::ComInitialized), 1U);
    const RecordBytes after(&*loader, sizeof(OrrinLoader));
    EXPECT_EQ(after.Size(), LoaderLayout::Size);
    EXPECT_EQ(after.At<std::uint8_t>(LoaderLayout::Initialized), 1U);
    EXPECT_EQ(after.At<std::uintptr_t>(LoaderLayout::Controller), controller.Row());
}

TEST_F(Loader, Records_StayUnchangedUntilTheFreeCall) {
    loader.emplace();
    EXPECT_EQ(loader->Start(), 0U);
    EXPECT_EQ(loader->Stop(), 0U);
    loader.reset();
    constexpr std::size_t Records = LoaderLayout::Size - LoaderLayout::Params;
    EXPECT_EQ(controller.AtFree().Part(LoaderLayout::Params, Records),
              controller.AtCreate().Part(LoaderLayout::Params, Records));
}

struct ComFailure {
    std::uint32_t result;
    const wchar_t* number;  ///< unsigned, also for negative results
};

void PrintTo(const ComFailure& value, std::ostream* out) {
    *out << "result " << value.result;
}

class LoaderWithoutCom : public Loader, public testing::WithParamInterface<ComFailure> {};

INSTANTIATE_TEST_SUITE_P(Results, LoaderWithoutCom,
                         testing::Values(ComFailure{1, L"1"}, ComFailure{0x80010106, L"2147549446"},
                                         ComFailure{0x8007000E, L"2147942414"},
                                         ComFailure{0xFFFFFFFF, L"4294967295"}));

TEST_P(LoaderWithoutCom, GoesOnAndDoesNotLetGoOfCom) {
    comResult = static_cast<HRESULT>(GetParam().result);
    loader.emplace();
    EXPECT_EQ(loader->Start(), 0U);
    loader.reset();
    EXPECT_EQ(controller.Events(),
              (Events{"CoInitializeEx", "create", "LoadAddons", "Activate", "free"}));
    EXPECT_EQ(
        log.Lines(),
        (Lines{ErrorLine(std::wstring(L"CoInitializeEx failed with hResult ") + GetParam().number),
               TraceLine(L"OrrinFreeComponentModelController successed")}));
}

// With the platform's own COM: a second initialisation on a thread returns S_FALSE, and the first
// one remains in effect after the loader is destroyed.
TEST(LoaderOnAThreadWithCom, ComStaysWithItsOwner) {
    test::LogCapture log;
    test::FakeController controller;
    ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    {
        const OrrinLoader loader;
    }
    EXPECT_EQ(log.Lines().front(), ErrorLine(L"CoInitializeEx failed with hResult 1"));
    EXPECT_EQ(controller.Events(), (Events{"create", "free"}));
    ::CoUninitialize();
    // The loader's S_FALSE added a reference, which the loader doesn't release.
    EXPECT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    ::CoUninitialize();
    ::CoUninitialize();
}

TEST_F(Loader, FailedCreate_LeavesALoaderThatRefusesToWork) {
    controller.results["create"] = -5;
    loader.emplace();
    EXPECT_EQ(loader->Start(), InternalError);
    EXPECT_EQ(loader->Stop(), InternalError);
    EXPECT_EQ(log.Lines(),
              (Lines{TraceLine(L"CoInitializeEx successed"),
                     ErrorLine(L"OrrinCreateComponentModelController failed with error -5"),
                     ErrorLine(L"orrin does not initialized"),
                     ErrorLine(L"orrin does not initialized")}));
    EXPECT_EQ(RecordBytes(&*loader, LoaderLayout::Size).At<std::uint8_t>(0), 0U);
    loader.reset();
    EXPECT_EQ(controller.Events(), (Events{"CoInitializeEx", "create", "CoUninitialize"}));
    EXPECT_EQ(log.Lines().size(), 4U);
}

struct StartCase {
    const char* name;
    std::int32_t load;
    std::int32_t activate;
    std::int32_t deactivate;
    DWORD result;
    Events calls;
    Lines lines;
};

void PrintTo(const StartCase& value, std::ostream* out) {
    *out << value.name;
}

Lines Deactivation(const std::wstring& first, const std::wstring& code) {
    return {first, TraceLine(L"Orrin->Deactivate started due to QUA-847"),
            TraceLine(L"Orrin->Deactivate finished with code " + code)};
}

const Events AllOfStart = {"LoadAddons", "Activate", "Deactivate"};

class LoaderStart : public Loader, public testing::WithParamInterface<StartCase> {};

INSTANTIATE_TEST_SUITE_P(
    Codes, LoaderStart,
    testing::Values(
        StartCase{"Good", 0, 0, -1, 0, {"LoadAddons", "Activate"}, {}},
        StartCase{"LoadFails",
                  5,
                  0,
                  0,
                  InternalError,
                  {"LoadAddons"},
                  {ErrorLine(L"Orrin->LoadAddons failed with error 5")}},
        StartCase{"LoadFailsWithANegativeCode",
                  -5,
                  0,
                  0,
                  InternalError,
                  {"LoadAddons"},
                  {ErrorLine(L"Orrin->LoadAddons failed with error -5")}},
        StartCase{"LoadGivesTheSoftCode",
                  3,
                  0,
                  0,
                  InternalError,
                  {"LoadAddons"},
                  {ErrorLine(L"Orrin->LoadAddons failed with error 3")}},
        StartCase{"SoftFailure", 0, 3, 0, 0, AllOfStart,
                  Deactivation(WarningLine(L"Orrin->Activate failed with error 3"), L"0")},
        StartCase{"SoftFailureAndFailingDeactivate", 0, 3, -7, 0, AllOfStart,
                  Deactivation(WarningLine(L"Orrin->Activate failed with error 3"), L"-7")},
        StartCase{"ActivateGives2", 0, 2, 0, InternalError, AllOfStart,
                  Deactivation(ErrorLine(L"Orrin->Activate failed with error 2"), L"0")},
        StartCase{"ActivateGives4", 0, 4, 0, InternalError, AllOfStart,
                  Deactivation(ErrorLine(L"Orrin->Activate failed with error 4"), L"0")},
        StartCase{"ActivateGives5", 0, 5, 3, InternalError, AllOfStart,
                  Deactivation(ErrorLine(L"Orrin->Activate failed with error 5"), L"3")},
        StartCase{"ActivateGivesMinus3", 0, -3, 0, InternalError, AllOfStart,
                  Deactivation(ErrorLine(L"Orrin->Activate failed with error -3"), L"0")}));

TEST_P(LoaderStart, CallsLogsAndResult) {
    controller.results["LoadAddons"] = GetParam().load;
    controller.results["Activate"] = GetParam().activate;
    controller.results["Deactivate"] = GetParam().deactivate;
    Make();
    EXPECT_EQ(loader->Start(), GetParam().result);
    EXPECT_EQ(controller.Events(), GetParam().calls);
    EXPECT_EQ(log.Lines(), GetParam().lines);
}

struct StopCase {
    const char* name;
    std::int32_t notify;
    std::int32_t deactivate;
    DWORD result;
    Events calls;
    Lines lines;
};

void PrintTo(const StopCase& value, std::ostream* out) {
    *out << value.name;
}

class LoaderStop : public Loader, public testing::WithParamInterface<StopCase> {};

INSTANTIATE_TEST_SUITE_P(
    Codes, LoaderStop,
    testing::Values(StopCase{"Good", 0, 0, 0, {"NotifyOnStop", "Deactivate"}, {}},
                    StopCase{"NotifyFails",
                             -9,
                             0,
                             InternalError,
                             {"NotifyOnStop"},
                             {ErrorLine(L"Orrin->NotifyOnStop failed with error -9")}},
                    StopCase{"NotifyGivesTheSoftCode",
                             3,
                             0,
                             InternalError,
                             {"NotifyOnStop"},
                             {ErrorLine(L"Orrin->NotifyOnStop failed with error 3")}},
                    StopCase{"DeactivateFails",
                             0,
                             4,
                             InternalError,
                             {"NotifyOnStop", "Deactivate"},
                             {ErrorLine(L"Orrin->Deactivate failed with error 4")}}));

TEST_P(LoaderStop, CallsLogsAndResult) {
    controller.results["NotifyOnStop"] = GetParam().notify;
    controller.results["Deactivate"] = GetParam().deactivate;
    Make();
    EXPECT_EQ(loader->Stop(), GetParam().result);
    EXPECT_EQ(controller.Events(), GetParam().calls);
    EXPECT_EQ(log.Lines(), GetParam().lines);
    loader.reset();
    // The free call comes in any case, whatever the stop's result.
    EXPECT_EQ(controller.Events().at(GetParam().calls.size()), "free");
}

TEST_F(Loader, StopAfterASoftFailure_DeactivatesASecondTime) {
    controller.results["Activate"] = 3;
    Make();
    EXPECT_EQ(loader->Start(), 0U);
    EXPECT_EQ(loader->Stop(), 0U);
    EXPECT_EQ(controller.Events(),
              (Events{"LoadAddons", "Activate", "Deactivate", "NotifyOnStop", "Deactivate"}));
}

TEST_F(Loader, GoodStartAndStop_WriteNoLineOfTheirOwn) {
    Make();
    EXPECT_EQ(loader->Start(), 0U);
    EXPECT_EQ(loader->Stop(), 0U);
    EXPECT_EQ(log.Lines(), Lines{});
}

TEST_F(Loader, ActiveController_IsFreedWithoutBeingStopped) {
    Make();
    EXPECT_EQ(loader->Start(), 0U);
    loader.reset();
    EXPECT_EQ(controller.Events(), (Events{"LoadAddons", "Activate", "free", "CoUninitialize"}));
}

TEST_F(Loader, FailingFree_IsLoggedAndComStillLetGo) {
    controller.results["free"] = -2;
    Make();
    loader.reset();
    EXPECT_EQ(controller.Events(), (Events{"free", "CoUninitialize"}));
    EXPECT_EQ(log.Lines(),
              Lines{ErrorLine(L"OrrinFreeComponentModelController failed with error -2")});
}

TEST_F(Loader, LibraryThatAsksDuringTheCreateCall_MeetsACompleteLoader) {
    test::FakeRegistrar registrar;
    registrar.results = {0, 0};
    controller.actions["create"] = [&] {
        const RecordBytes params = controller.AtCreate().Part(LoaderLayout::Params, 80);
        EXPECT_EQ(params.At<test::RegisterEntry>(48)(
                      registrar.Row(), nullptr, nullptr,
                      reinterpret_cast<void*>(params.At<std::uintptr_t>(56))),
                  0U);
    };
    loader.emplace();
    EXPECT_EQ(registrar.registrations.size(), 2U);
}

}  // namespace
}  // namespace tarnwick
