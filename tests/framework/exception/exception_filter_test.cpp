#include "framework/exception/exception_filter.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <vector>

#include "framework/logger/internal_trace.h"
#include "framework/logger/logger.h"
#include "tests/framework/exception/allocation_count.h"
#include "tests/framework/exception/crash_path_calls.h"
#include "tests/support/child_process.h"
#include "tests/support/log_capture.h"

namespace framework {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DWORD AccessViolation = 0xC0000005;
constexpr DWORD HeapCorruption = 0xC0000374;
constexpr DWORD WaitLimitMs = 20000;
const wchar_t* const DumpPath = L"X:\\a.dmp";

using Lines = std::vector<std::wstring>;

Lines Of(std::initializer_list<std::wstring> lines) {
    return lines;
}

/// A line of the filter as the log shows it.
std::wstring Line(const wchar_t* level, const std::wstring& text,
                  DWORD threadId = ::GetCurrentThreadId()) {
    return L"[" + std::wstring(level) + L"][quillon] ExceptionFilter (Thread " +
           std::to_wstring(threadId) + L"): " + text;
}

std::wstring Occurred(DWORD threadId = ::GetCurrentThreadId()) {
    return Line(L"E", L"exception occur ", threadId);
}

Lines Began(DWORD threadId = ::GetCurrentThreadId()) {
    return {Occurred(threadId), Line(L"T", L"critical section begin", threadId)};
}

Lines CallbackRan() {
    return {Line(L"T", L"PreActionCallback starts"), Line(L"T", L"PreActionCallback finished")};
}

Lines DumpSucceeded(DWORD threadId = ::GetCurrentThreadId()) {
    return {Line(L"T", L"start dump creation", threadId),
            L"[T][quillon] Minidump written to X:\\a.dmp",
            Line(L"T", L"successfully finish dump creation", threadId)};
}

Lines DumpFailed(DWORD error, DWORD threadId = ::GetCurrentThreadId()) {
    return {Line(L"T", L"start dump creation", threadId),
            L"[E][quillon] MiniDumpWriteDump failed with error " + std::to_wstring(error),
            Line(L"E", L"CreateDumpInThisProcess failed", threadId),
            Line(L"E", L"dump creation failed", threadId)};
}

Lines operator+(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

ExceptionFilterConfig Config(std::uint8_t useDumperProcess = 0,
                             PreExceptionCallback callback = nullptr, void* context = nullptr) {
    return {callback, context, useDumperProcess, DumpPath, 0};
}

/// An installed filter, on a platform that dumps and ends nothing.
class ExceptionFilterTest : public ::testing::Test {
  protected:
    void Stand(const ExceptionFilterConfig& config = Config()) {
        filter_ = std::make_unique<ExceptionFilter>(config);
        log_.Clear();
    }

    LONG Process(DWORD code = AccessViolation) {
        test::MadeUpException exception(code);
        return ExceptionFilter::ExceptionProcessing(exception.Pointers());
    }

    LONG Vectored(DWORD code) {
        test::MadeUpException exception(code);
        return ExceptionFilter::VectoredExceptionProcessing(exception.Pointers());
    }

    void FailDump(DWORD error) {
        platform_.dumpResult = FALSE;
        platform_.dumpError = error;
    }

    test::LogCapture log_;
    test::CrashPathCalls platform_;
    std::unique_ptr<ExceptionFilter> filter_;
};

TEST_F(ExceptionFilterTest, Construction_HooksBothPlacesThenTakesThePathThenLogs) {
    const auto marker = reinterpret_cast<LPTOP_LEVEL_EXCEPTION_FILTER>(std::uintptr_t{0x1234});
    const auto handler = reinterpret_cast<void*>(std::uintptr_t{0x5678});
    std::vector<LPTOP_LEVEL_EXCEPTION_FILTER> filters;
    std::vector<void*> removed;
    const test::ScopedHook<test::SetUnhandledExceptionFilterHook> set([&](auto filter) {
        platform_.calls.emplace_back("set filter");
        filters.push_back(filter);
        return marker;
    });
    const test::ScopedHook<test::AddVectoredExceptionHandlerHook> add([&](ULONG first, auto added) {
        platform_.calls.emplace_back("add handler");
        EXPECT_EQ(first, 1U);
        EXPECT_EQ(added, &ExceptionFilter::VectoredExceptionProcessing);
        EXPECT_THAT(log_.Lines(), IsEmpty());
        return handler;
    });
    const test::ScopedHook<test::RemoveVectoredExceptionHandlerHook> remove([&](void* given) {
        platform_.calls.emplace_back("remove handler");
        removed.push_back(given);
        EXPECT_THAT(log_.Lines(), IsEmpty());
        return 1UL;
    });

    filter_ = std::make_unique<ExceptionFilter>(Config());
    EXPECT_THAT(platform_.calls, ElementsAre("set filter", "add handler"));
    EXPECT_THAT(filters, ElementsAre(&ExceptionFilter::ExceptionProcessing));
    EXPECT_THAT(log_.Lines(), ElementsAre(L"[T][quillon] ExceptionFilter was created"));

    log_.Clear();
    platform_.calls.clear();
    filter_.reset();
    EXPECT_THAT(platform_.calls, ElementsAre("set filter", "remove handler"));
    EXPECT_EQ(filters.back(), marker);
    EXPECT_THAT(removed, ElementsAre(handler));
    EXPECT_THAT(log_.Lines(), ElementsAre(L"[T][quillon] ExceptionFilter was removed"));
}

LONG WINAPI EarlierFilter(EXCEPTION_POINTERS* /*pointers*/) {
    return EXCEPTION_CONTINUE_SEARCH;
}

TEST_F(ExceptionFilterTest, Destruction_BringsTheEarlierFilterBack) {
    const LPTOP_LEVEL_EXCEPTION_FILTER own = ::SetUnhandledExceptionFilter(EarlierFilter);
    Stand();
    EXPECT_EQ(::SetUnhandledExceptionFilter(ExceptionFilter::ExceptionProcessing),
              &ExceptionFilter::ExceptionProcessing);
    filter_.reset();
    EXPECT_EQ(::SetUnhandledExceptionFilter(own), &EarlierFilter);
}

LONG WINAPI GoOn(EXCEPTION_POINTERS* pointers) {
    return pointers->ExceptionRecord->ExceptionCode == HeapCorruption ? EXCEPTION_CONTINUE_EXECUTION
                                                                      : EXCEPTION_CONTINUE_SEARCH;
}

TEST_F(ExceptionFilterTest, VectoredHandler_IsInTheChainWhileTheFilterStandsAndGoneAfterwards) {
    // Last in the chain, so that the filter's own handler runs first.
    void* const last = ::AddVectoredExceptionHandler(0, GoOn);
    FailDump(112);
    Stand();
    ::RaiseException(HeapCorruption, 0, 0, nullptr);
    EXPECT_EQ(log_.Lines(),
              Of({L"[E][quillon] VectoredExceptionProcessing occured for heap corruption"}) +
                  Began() + DumpFailed(112));
    filter_.reset();
    log_.Clear();
    ::RaiseException(HeapCorruption, 0, 0, nullptr);
    EXPECT_THAT(log_.Lines(), IsEmpty());
    ::RemoveVectoredExceptionHandler(last);
}

class OtherCode : public ExceptionFilterTest, public ::testing::WithParamInterface<DWORD> {};

TEST_P(OtherCode, VectoredHandlerStaysSilent) {
    Stand();
    EXPECT_EQ(Vectored(GetParam()), EXCEPTION_CONTINUE_SEARCH);
    EXPECT_THAT(log_.Lines(), IsEmpty());
    EXPECT_THAT(platform_.calls, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Codes, OtherCode,
                         ::testing::Values(AccessViolation, 0xC0000373U, 0xC0000375U, 0x80000003U,
                                           0xE06D7363U, 0x20474343U, 0x40000374U, 0U));

TEST_F(ExceptionFilterTest, HeapCorruption_RunsTheWholeRoutineFromTheVectoredHandler) {
    Stand();
    EXPECT_EQ(Vectored(HeapCorruption), EXCEPTION_CONTINUE_SEARCH);
    EXPECT_EQ(log_.Lines(),
              Of({L"[E][quillon] VectoredExceptionProcessing occured for heap corruption"}) +
                  Began() + DumpSucceeded());
    EXPECT_THAT(platform_.exitCodes, ElementsAre(HeapCorruption));
}

TEST_F(ExceptionFilterTest, SecondPassAfterHeapCorruption_RunsCallbackAndDumpAgain) {
    int runs = 0;
    Stand(Config(0, [](void* context) { ++*static_cast<int*>(context); }, &runs));
    FailDump(112);
    EXPECT_EQ(Vectored(HeapCorruption), EXCEPTION_CONTINUE_SEARCH);
    EXPECT_EQ(Process(HeapCorruption), EXCEPTION_CONTINUE_SEARCH);
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(platform_.Count("write dump"), 2U);
    const Lines pass = Began() + CallbackRan() + DumpFailed(112);
    EXPECT_EQ(log_.Lines(),
              Of({L"[E][quillon] VectoredExceptionProcessing occured for heap corruption"}) + pass +
                  pass);
}

TEST_F(ExceptionFilterTest, Crash_IsDumpedAndEndsTheProcessWithItsCode) {
    Stand();
    test::MadeUpException exception(AccessViolation);
    EXPECT_EQ(ExceptionFilter::ExceptionProcessing(exception.Pointers()),
              EXCEPTION_CONTINUE_SEARCH);
    EXPECT_EQ(log_.Lines(), Began() + DumpSucceeded());
    EXPECT_THAT(platform_.calls,
                ElementsAre("create dump file", "write dump", "close dump file", "end process"));
    EXPECT_EQ(platform_.dumpedProcess, ::GetCurrentProcess());
    EXPECT_EQ(platform_.dumpedProcessId, ::GetCurrentProcessId());
    EXPECT_EQ(platform_.information.ThreadId, ::GetCurrentThreadId());
    EXPECT_EQ(platform_.information.ExceptionPointers, exception.Pointers());
    EXPECT_EQ(platform_.information.ClientPointers, FALSE);
    EXPECT_EQ(platform_.endedProcess, ::GetCurrentProcess());
    EXPECT_THAT(platform_.exitCodes, ElementsAre(AccessViolation));
}

TEST_F(ExceptionFilterTest, EarlierFilter_IsNeverCalled) {
    static bool called;
    called = false;
    const LPTOP_LEVEL_EXCEPTION_FILTER own =
        ::SetUnhandledExceptionFilter([](EXCEPTION_POINTERS*) -> LONG {
            called = true;
            return EXCEPTION_CONTINUE_SEARCH;
        });
    Stand();
    FailDump(112);
    Process();
    EXPECT_FALSE(called);
    filter_.reset();
    ::SetUnhandledExceptionFilter(own);
}

TEST_F(ExceptionFilterTest, Config_ReachesTheDump) {
    ExceptionFilterConfig config = Config();
    config.dumpFilePath = L"Y:\\other.dmp";
    config.dumpType = 0x80000042;
    Stand(config);
    Process();
    EXPECT_EQ(platform_.path, L"Y:\\other.dmp");
    EXPECT_EQ(platform_.flags, 0x80000042U);
}

TEST_F(ExceptionFilterTest, DumpThatFails_DoesNotEndTheProcess) {
    Stand();
    FailDump(112);
    EXPECT_EQ(Process(), EXCEPTION_CONTINUE_SEARCH);
    EXPECT_EQ(log_.Lines(), Began() + DumpFailed(112));
    EXPECT_THAT(platform_.exitCodes, IsEmpty());
}

TEST_F(ExceptionFilterTest, DumpThatFailsWithoutAnError_CountsAsSuccess) {
    Stand();
    FailDump(0);
    Process();
    EXPECT_EQ(log_.Lines(), Began() + Of({Line(L"T", L"start dump creation"),
                                          L"[E][quillon] MiniDumpWriteDump failed with error 0",
                                          Line(L"T", L"successfully finish dump creation")}));
    EXPECT_THAT(platform_.exitCodes, ElementsAre(AccessViolation));
}

TEST_F(ExceptionFilterTest, DumpFileThatCannotBeOpened_GoesTheFailureWay) {
    Stand();
    platform_.dumpFile = INVALID_HANDLE_VALUE;
    platform_.createError = ERROR_PATH_NOT_FOUND;
    EXPECT_EQ(Process(), EXCEPTION_CONTINUE_SEARCH);
    EXPECT_EQ(log_.Lines(),
              Began() + Of({Line(L"T", L"start dump creation"),
                            L"[E][quillon] CreateFileW for file X:\\a.dmp failed with error 3",
                            Line(L"E", L"CreateDumpInThisProcess failed"),
                            Line(L"E", L"dump creation failed")}));
    EXPECT_THAT(platform_.exitCodes, IsEmpty());
}

TEST_F(ExceptionFilterTest, FailureOfAnEarlierPass_IsForgotten) {
    Stand();
    FailDump(112);
    Process();
    platform_.dumpResult = TRUE;
    Process();
    EXPECT_EQ(log_.Lines(), Began() + DumpFailed(112) + Began() + DumpSucceeded());
    EXPECT_THAT(platform_.exitCodes, ElementsAre(AccessViolation));
}

/// `GetModuleFileNameW` as the filter calls it.
class ModuleNameTest : public ExceptionFilterTest {
  protected:
    ModuleNameTest()
        : hook_([this](HMODULE module, wchar_t* buffer, DWORD size) -> DWORD {
              moduleNull_ = module == nullptr;
              size_ = size;
              name_.copy(buffer, name_.size());
              buffer[name_.size()] = 0;
              ::SetLastError(error_);
              return length_;
          }) {}

    std::wstring name_ = L"Z:\\a b\\host.exe";
    DWORD length_ = 15;
    DWORD error_ = 0;
    bool moduleNull_ = false;
    DWORD size_ = 0;
    test::ScopedHook<test::GetModuleFileNameWHook> hook_;
};

TEST_F(ModuleNameTest, IsAskedForThisExecutableInto400Characters) {
    Stand();
    Process();
    EXPECT_TRUE(moduleNull_);
    EXPECT_EQ(size_, 400U);
}

TEST_F(ModuleNameTest, Unavailable_IsATraceLineWithoutACodeAndNoDump) {
    Stand();
    length_ = 0;
    error_ = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Process(), EXCEPTION_CONTINUE_SEARCH);
    EXPECT_EQ(log_.Lines(), Began() + Of({Line(L"T", L"GetModuleFileNameW failed with error"),
                                          Line(L"E", L"dump creation failed")}));
    EXPECT_THAT(platform_.calls, IsEmpty());
}

TEST_F(ModuleNameTest, UnavailableWithoutAnError_CountsAsSuccessWithoutADump) {
    Stand();
    length_ = 0;
    Process();
    EXPECT_EQ(log_.Lines(), Began() + Of({Line(L"T", L"GetModuleFileNameW failed with error"),
                                          Line(L"T", L"successfully finish dump creation")}));
    EXPECT_THAT(platform_.calls, ElementsAre("end process"));
    EXPECT_THAT(platform_.exitCodes, ElementsAre(AccessViolation));
}

TEST_F(ModuleNameTest, CutAt400Characters_IsNotNoticed) {
    Stand();
    name_ = std::wstring(399, L'n');
    length_ = 400;
    Process();
    EXPECT_EQ(log_.Lines(), Began() + DumpSucceeded());
}

TEST_F(ModuleNameTest, StandsInForAnEmptyDumpPath) {
    ExceptionFilterConfig config = Config();
    config.dumpFilePath = L"";
    Stand(config);
    Process();
    EXPECT_EQ(platform_.path, L"Z:\\a b\\host.exe.dmp");
}

/// The path with a child process.
class ChildDumperTest : public ModuleNameTest {
  protected:
    ChildDumperTest()
        : createProcess_([this](const wchar_t* application, wchar_t* commandLine,
                                SECURITY_ATTRIBUTES* processSecurity,
                                SECURITY_ATTRIBUTES* threadSecurity, BOOL inherit, DWORD flags,
                                void* environment, const wchar_t* directory, STARTUPINFOW* startup,
                                PROCESS_INFORMATION* information) {
              platform_.calls.emplace_back("start child");
              commandLine_ = commandLine;
              othersNull_ = application == nullptr && processSecurity == nullptr &&
                            threadSecurity == nullptr && environment == nullptr &&
                            directory == nullptr;
              inherit_ = inherit;
              creationFlags_ = flags;
              startup_ = *startup;
              information->hProcess = childProcess_;
              information->hThread = childThread_;
              ::SetLastError(createError_);
              return started_;
          }),
          wait_([this](HANDLE handle, DWORD limit) -> DWORD {
              if (handle != test::FakeProcess && handle != nullptr) {
                  return test::WaitForSingleObjectHook::Real(handle, limit);
              }
              platform_.calls.emplace_back("wait");
              waitedFor_ = handle;
              waitLimit_ = limit;
              return waitResult_;
          }) {}

    HANDLE childProcess_ = test::FakeProcess;
    HANDLE childThread_ = test::FakeThread;
    BOOL started_ = TRUE;
    DWORD createError_ = 0;
    DWORD waitResult_ = WAIT_OBJECT_0;
    std::wstring commandLine_;
    bool othersNull_ = false;
    BOOL inherit_ = TRUE;
    DWORD creationFlags_ = 0;
    STARTUPINFOW startup_ = {};
    HANDLE waitedFor_ = nullptr;
    DWORD waitLimit_ = 0;
    test::ScopedHook<test::CreateProcessWHook> createProcess_;
    test::ScopedHook<test::WaitForSingleObjectHook> wait_;
};

std::wstring SixteenUpperCaseDigits(const void* pointer) {
    constexpr const wchar_t* Digits = L"0123456789ABCDEF";
    const auto value = reinterpret_cast<std::uintptr_t>(pointer);
    std::wstring text;
    for (int shift = 60; shift >= 0; shift -= 4) {
        text += Digits[(value >> shift) & 0xF];
    }
    return text;
}

TEST_F(ChildDumperTest, CommandLine_QuotesThePathAndNamesProcessThreadAndPointers) {
    Stand(Config(1));
    test::MadeUpException exception(AccessViolation);
    ExceptionFilter::ExceptionProcessing(exception.Pointers());
    EXPECT_EQ(commandLine_, L"\"Z:\\a b\\host.exe\" -dump " +
                                std::to_wstring(::GetCurrentProcessId()) + L" " +
                                std::to_wstring(::GetCurrentThreadId()) + L" " +
                                SixteenUpperCaseDigits(exception.Pointers()));
}

TEST_F(ChildDumperTest, CommandLine_OfTheLongestPathFits) {
    Stand(Config(1));
    name_ = std::wstring(399, L'n');
    length_ = 400;
    Process();
    EXPECT_EQ(commandLine_.substr(0, 408), L"\"" + name_ + L"\" -dump ");
    EXPECT_THAT(platform_.exitCodes, ElementsAre(AccessViolation));
}

TEST_F(ChildDumperTest, Child_IsStartedBareAndWaitedForWithoutALimit) {
    Stand(Config(1));
    Process();
    EXPECT_TRUE(othersNull_);
    EXPECT_EQ(inherit_, FALSE);
    EXPECT_EQ(creationFlags_, 0x20U);
    STARTUPINFOW bare = {};
    bare.cb = 104;
    EXPECT_EQ(std::memcmp(&startup_, &bare, sizeof(bare)), 0);
    EXPECT_EQ(waitedFor_, test::FakeProcess);
    EXPECT_EQ(waitLimit_, INFINITE);
    EXPECT_THAT(platform_.calls,
                ElementsAre("start child", "wait", "close thread", "close process", "end process"));
    EXPECT_EQ(log_.Lines(), Began() + Of({Line(L"T", L"start dump creation"),
                                          Line(L"T", L"successfully finish dump creation")}));
    EXPECT_THAT(platform_.exitCodes, ElementsAre(AccessViolation));
}

TEST_F(ChildDumperTest, NullHandles_AreNotClosedAndAFailedWaitIsNotNoticed) {
    Stand(Config(1));
    childProcess_ = nullptr;
    childThread_ = nullptr;
    waitResult_ = WAIT_FAILED;
    std::size_t nullClosed = 0;
    const test::ScopedHook<test::CloseHandleHook> hook([&](HANDLE handle) {
        nullClosed += handle == nullptr ? 1 : 0;
        return test::CloseHandleHook::Real(handle);
    });
    Process();
    EXPECT_EQ(nullClosed, 0U);
    EXPECT_THAT(platform_.calls, ElementsAre("start child", "wait", "end process"));
}

TEST_F(ChildDumperTest, ChildThatCannotStart_GoesTheFailureWayWithoutADumpOfItsOwn) {
    Stand(Config(1));
    started_ = FALSE;
    createError_ = ERROR_FILE_NOT_FOUND;
    EXPECT_EQ(Process(), EXCEPTION_CONTINUE_SEARCH);
    EXPECT_EQ(log_.Lines(),
              Began() + Of({Line(L"T", L"start dump creation"),
                            Line(L"E", L"CreateProcessW for dumperProcess failed with error 2"),
                            Line(L"E", L"dump creation failed")}));
    EXPECT_THAT(platform_.calls, ElementsAre("start child"));
}

TEST_F(ChildDumperTest, ChildThatCannotStartWithoutAnError_CountsAsSuccess) {
    Stand(Config(1));
    started_ = FALSE;
    Process();
    EXPECT_EQ(log_.Lines(),
              Began() + Of({Line(L"T", L"start dump creation"),
                            Line(L"E", L"CreateProcessW for dumperProcess failed with error 0"),
                            Line(L"T", L"successfully finish dump creation")}));
    EXPECT_THAT(platform_.calls, ElementsAre("start child", "end process"));
}

TEST_F(ChildDumperTest, FailureOfAnEarlierPass_IsForgotten) {
    Stand(Config(1));
    started_ = FALSE;
    createError_ = ERROR_FILE_NOT_FOUND;
    Process();
    started_ = TRUE;
    Process();
    EXPECT_THAT(platform_.exitCodes, ElementsAre(AccessViolation));
}

class NotTheChildFlag : public ChildDumperTest,
                        public ::testing::WithParamInterface<std::uint8_t> {};

TEST_P(NotTheChildFlag, DumpsInThisProcess) {
    Stand(Config(GetParam()));
    Process();
    EXPECT_EQ(platform_.Count("write dump"), 1U);
    EXPECT_EQ(platform_.Count("start child"), 0U);
}

INSTANTIATE_TEST_SUITE_P(Values, NotTheChildFlag,
                         ::testing::Values(std::uint8_t{0}, std::uint8_t{2}, std::uint8_t{255}));

/// What the callback saw.
struct Seen {
    const test::LogCapture* log;
    DWORD threadId;
    Lines lines;
    int runs;
};

void See(void* context) {
    auto& seen = *static_cast<Seen*>(context);
    seen.threadId = ::GetCurrentThreadId();
    seen.lines = seen.log->Lines();
    ++seen.runs;
}

TEST_F(ExceptionFilterTest, Callback_RunsOnTheFaultingThreadBetweenItsLinesBeforeTheDump) {
    Seen seen = {&log_, 0, {}, 0};
    Stand();
    EXPECT_EQ(ExceptionFilter::SetPreExceptionCallback(See, &seen), 0U);
    Process();
    EXPECT_EQ(seen.runs, 1);
    EXPECT_EQ(seen.threadId, ::GetCurrentThreadId());
    EXPECT_EQ(seen.lines, Began() + Of({Line(L"T", L"PreActionCallback starts")}));
    EXPECT_EQ(log_.Lines(), Began() + CallbackRan() + DumpSucceeded());
}

TEST_F(ExceptionFilterTest, CallbackOfTheConfig_Runs) {
    Seen seen = {&log_, 0, {}, 0};
    Stand(Config(0, See, &seen));
    Process();
    EXPECT_EQ(seen.runs, 1);
}

TEST_F(ExceptionFilterTest, CallbackSetTwice_OnlyTheLaterRuns) {
    Seen first = {&log_, 0, {}, 0};
    Seen second = {&log_, 0, {}, 0};
    Stand(Config(0, See, &first));
    ExceptionFilter::SetPreExceptionCallback(See, &second);
    Process();
    EXPECT_EQ(first.runs, 0);
    EXPECT_EQ(second.runs, 1);
}

TEST_F(ExceptionFilterTest, CallbackRemoved_LeavesNoLine) {
    Seen seen = {&log_, 0, {}, 0};
    Stand(Config(0, See, &seen));
    ExceptionFilter::RemovePreExceptionCallback();
    Process();
    EXPECT_EQ(seen.runs, 0);
    EXPECT_EQ(log_.Lines(), Began() + DumpSucceeded());
}

TEST_F(ExceptionFilterTest, NullCallbackWithContext_LeavesNoLine) {
    int context = 0;
    Stand();
    EXPECT_EQ(ExceptionFilter::SetPreExceptionCallback(nullptr, &context), 0U);
    Process();
    EXPECT_EQ(log_.Lines(), Began() + DumpSucceeded());
}

TEST_F(ExceptionFilterTest, Callback_StaysAfterThePass) {
    Seen seen = {&log_, 0, {}, 0};
    Stand(Config(0, See, &seen));
    Process();
    Process();
    EXPECT_EQ(seen.runs, 2);
}

TEST_F(ExceptionFilterTest, NewFilter_TakesTheCallbackOfItsOwnConfig) {
    Seen seen = {&log_, 0, {}, 0};
    Stand(Config(0, See, &seen));
    filter_.reset();
    Stand();
    Process();
    EXPECT_EQ(seen.runs, 0);
}

/// A fault inside the callback: the same thread enters the filter again.
void FaultOnce(void* context) {
    auto& inside = *static_cast<bool*>(context);
    if (!inside) {
        inside = true;
        test::MadeUpException second(0xC0000094);
        ExceptionFilter::ExceptionProcessing(second.Pointers());
    }
}

TEST_F(ExceptionFilterTest, FaultInTheCallback_EntersAgainOnTheSameThread) {
    bool inside = false;
    Stand(Config(0, FaultOnce, &inside));
    Process();
    EXPECT_EQ(log_.Lines(), Began() + Of({Line(L"T", L"PreActionCallback starts")}) + Began() +
                                CallbackRan() + DumpSucceeded() +
                                Of({Line(L"T", L"PreActionCallback finished")}) + DumpSucceeded());
    EXPECT_THAT(platform_.exitCodes, ElementsAre(0xC0000094U, AccessViolation));
}

KernelHandle NewEvent() {
    return KernelHandle(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

/// A callback that blocks on its first call until it is released.
struct Gate {
    KernelHandle entered = NewEvent();
    KernelHandle leave = NewEvent();
};

void StayInside(void* context) {
    const auto& gate = *static_cast<Gate*>(context);
    ::SetEvent(gate.entered.Get());
    ::WaitForSingleObject(gate.leave.Get(), WaitLimitMs);
}

/// Waits until the log has this many lines, up to the limit.
bool WaitForLines(const test::LogCapture& log, std::size_t count) {
    const ULONGLONG end = ::GetTickCount64() + WaitLimitMs;
    while (log.Lines().size() < count) {
        if (::GetTickCount64() > end) {
            return false;
        }
        ::SwitchToThread();
    }
    return true;
}

TEST_F(ExceptionFilterTest, SecondFaultingThread_WritesItsFirstLineAndBlocksUntilTheFirstIsDone) {
    Gate gate;
    Stand(Config(0, StayInside, &gate));
    FailDump(112);
    std::atomic<DWORD> firstId = 0;
    std::atomic<DWORD> secondId = 0;
    std::thread first([&] {
        firstId = ::GetCurrentThreadId();
        Process();
    });
    ASSERT_EQ(::WaitForSingleObject(gate.entered.Get(), WaitLimitMs), WAIT_OBJECT_0);
    ExceptionFilter::RemovePreExceptionCallback();
    std::thread second([&] {
        secondId = ::GetCurrentThreadId();
        Process();
    });
    const bool secondSeen = WaitForLines(log_, 4);
    ::SetEvent(gate.leave.Get());
    first.join();
    second.join();
    ASSERT_TRUE(secondSeen);
    // The second thread's id must not appear in the first one's lines. Its own pass, whose dump
    // overwrites the first one's file, runs after the first has failed.
    EXPECT_EQ(log_.Lines(),
              Began(firstId) +
                  Of({Line(L"T", L"PreActionCallback starts", firstId), Occurred(secondId),
                      Line(L"T", L"PreActionCallback finished", firstId)}) +
                  DumpFailed(112, firstId) + Of({Line(L"T", L"critical section begin", secondId)}) +
                  DumpFailed(112, secondId));
    EXPECT_EQ(platform_.Count("create dump file"), 2U);
    EXPECT_EQ(platform_.information.ThreadId, secondId);
}

TEST_F(ExceptionFilterTest, CrashWhileAnotherThreadIsInsideALogCall_WaitsForItAndGoesOn) {
    Stand();
    Gate gate;
    std::atomic<DWORD> holder = 0;
    const test::ScopedHook<test::WriteFileHook> hook(
        [&](HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* position) {
            if (holder == ::GetCurrentThreadId()) {
                StayInside(&gate);
            }
            return test::WriteFileHook::Real(file, data, size, written, position);
        });
    std::thread logging([&] {
        holder = ::GetCurrentThreadId();
        InternalTrace(LevelTrace.Bit, L"held");
    });
    ASSERT_EQ(::WaitForSingleObject(gate.entered.Get(), WaitLimitMs), WAIT_OBJECT_0);
    const KernelHandle done = NewEvent();
    DWORD crashId = 0;
    std::thread crashing([&] {
        crashId = ::GetCurrentThreadId();
        Process();
        ::SetEvent(done.Get());
    });
    constexpr DWORD LongEnoughMs = 200;
    EXPECT_EQ(::WaitForSingleObject(done.Get(), LongEnoughMs), static_cast<DWORD>(WAIT_TIMEOUT));
    ::SetEvent(gate.leave.Get());
    logging.join();
    crashing.join();
    EXPECT_EQ(log_.Lines(), Of({L"[T][quillon] held"}) + Began(crashId) + DumpSucceeded(crashId));
}

TEST_F(ExceptionFilterTest, CrashInsideALogCallOfTheSameThread_GoesThrough) {
    Stand();
    bool crashed = false;
    const test::ScopedHook<test::WriteFileHook> hook(
        [&](HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* position) {
            if (!crashed) {
                crashed = true;
                Process();
            }
            return test::WriteFileHook::Real(file, data, size, written, position);
        });
    InternalTrace(LevelTrace.Bit, L"interrupted");
    EXPECT_EQ(log_.Lines(), Began() + DumpSucceeded() + Of({L"[T][quillon] interrupted"}));
}

TEST(CrashInsideTheFileSwitch, KeepsItsDumpAndLosesItsLines) {
    LoggerConfig config = test::QuietConfig();
    config.MaxFileSize = 1;
    // Created first, because its own line would be the one that fills the file.
    const ExceptionFilter filter(Config());
    const test::LogCapture log(config);
    bool armed = true;
    Lines atTheEnd = {L"the process wasn't ended"};
    test::CrashPathCalls platform;
    const test::ScopedHook<test::TerminateProcessHook> end([&](auto...) {
        atTheEnd = log.Lines();
        return FALSE;
    });
    const test::ScopedHook<test::CreateFileWHook> create([&](const wchar_t* name, auto... rest) {
        const std::wstring_view file(name);
        if (armed && file.ends_with(L".log")) {
            armed = false;
            test::MadeUpException exception(AccessViolation);
            ExceptionFilter::ExceptionProcessing(exception.Pointers());
        }
        return file.ends_with(L".dmp") ? test::FakeDumpFile
                                       : test::CreateFileWHook::Real(name, rest...);
    });
    InternalTrace(LevelTrace.Bit, L"the record that fills the file");
    EXPECT_FALSE(armed) << "no switch";
    EXPECT_EQ(platform.Count("write dump"), 1U);
    for (const std::wstring& line : atTheEnd) {
        EXPECT_EQ(line.find(L"(Thread "), std::wstring::npos) << "written after all";
    }
}

/// The allocations of this thread during `work`.
template <class Work>
std::size_t AllocationsOf(const Work& work) {
    const std::size_t before = test::AllocationCount();
    work();
    return test::AllocationCount() - before;
}

TEST_F(ExceptionFilterTest, CrashPath_AllocatesNothing) {
    Stand();
    platform_.calls.reserve(16);
    platform_.exitCodes.reserve(16);
    platform_.createArguments.reserve(16);
    test::MadeUpException exception(AccessViolation);
    // The replacements allocate only on their first run.
    ExceptionFilter::ExceptionProcessing(exception.Pointers());
    const std::size_t path =
        AllocationsOf([&] { ExceptionFilter::ExceptionProcessing(exception.Pointers()); });
    const std::size_t standIns = AllocationsOf(
        [&] { test::CreateFileWHook::Enter(DumpPath, 0, 0, nullptr, 0, 0, nullptr); });
    // The log's sink in this test is a file, so its lines need no heap either.
    EXPECT_EQ(path, standIns);
    const std::wstring longText(2000, L'x');
    EXPECT_GT(AllocationsOf([&] { InternalTrace(1, L"%s", longText.c_str()); }), 0U)
        << "the counter counts nothing";
}

/// Everything happens in a child process, whose log the test reads.
int StandOnLongPath(const std::vector<std::wstring>& arguments) {
    LoggerConfig config = test::QuietConfig();
    config.LogDirectory = arguments.at(0);
    config.LogToFile = true;
    Logger::Instance().Configure(std::move(config));
    const std::wstring path(std::stoul(arguments.at(1)), L'd');
    const ExceptionFilter filter({nullptr, nullptr, 0, path.c_str(), 0});
    ::ExitProcess(0);
}
const test::ChildRoutine standOnLongPath(L"stand-on-long-path", StandOnLongPath);

TEST(ExceptionFilterPath, Of405Characters_EndsTheProcessBeforeTheFilterIsCalledCreated) {
    for (const auto& [length, exitCode, lines] :
         {std::tuple{L"404", 0U, std::size_t{1}},
          std::tuple{L"405", 0xC0000409U, std::size_t{0}}}) {
        const test::ScratchFolder folder;
        test::Child child(test::SelfCommandLine(L"stand-on-long-path",
                                                {folder.Path().wstring() + L"\\\\", length}));
        EXPECT_EQ(child.Wait(), exitCode);
        const std::wstring log = test::ReadLogText(folder.Path() / folder.Names(L".log").at(0));
        EXPECT_EQ(log.find(L"ExceptionFilter was created") != std::wstring::npos, lines == 1);
    }
}

/// A real crash with the real end of the process; only the dump itself is omitted.
int CrashForReal(const std::vector<std::wstring>& arguments) {
    const test::ScopedHook<test::MiniDumpWriteDumpHook> hook([](auto...) { return TRUE; });
    const std::wstring path = arguments.at(0) + L".dmp";
    const ExceptionFilter filter({nullptr, nullptr, 0, path.c_str(), 0});
    ::RaiseException(static_cast<DWORD>(std::stoul(arguments.at(1), nullptr, 16)),
                     EXCEPTION_NONCONTINUABLE, 0, nullptr);
    return 0;
}
const test::ChildRoutine crashForReal(L"crash-for-real", CrashForReal);

class RealCrash : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(RealCrash, EndsTheProcessWithAll32BitsOfItsCode) {
    const test::ScratchFolder folder;
    std::wstring code =
        SixteenUpperCaseDigits(reinterpret_cast<void*>(static_cast<std::uintptr_t>(GetParam())));
    test::Child child(
        test::SelfCommandLine(L"crash-for-real", {(folder.Path() / L"a").wstring(), code}));
    EXPECT_EQ(child.Wait(), GetParam());
    EXPECT_TRUE(std::filesystem::exists(folder.Path() / L"a.dmp"));
}

INSTANTIATE_TEST_SUITE_P(Codes, RealCrash,
                         ::testing::Values(0xC0000005U, 0xC0000374U, 0xE0001234U, 0x00000042U));

}  // namespace
}  // namespace framework
