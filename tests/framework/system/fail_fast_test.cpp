#include "framework/system/fail_fast.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "framework/system/platform.h"
#include "tests/support/child_process.h"

namespace framework {
namespace {

constexpr std::uint32_t FailFastCode = 0xC0000409;
constexpr std::uint32_t OtherCode = 0xE0001234;

/// Writes unbuffered, so that it is visible however the process ends.
void Say(const char* word) {
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), word, static_cast<DWORD>(std::strlen(word)),
                &written, nullptr);
}

LONG WINAPI VectoredHandler(EXCEPTION_POINTERS*) {
    Say("vectored ");
    return EXCEPTION_CONTINUE_SEARCH;
}

LONG WINAPI UnhandledFilter(EXCEPTION_POINTERS*) {
    Say("filter ");
    return EXCEPTION_EXECUTE_HANDLER;
}

/// Reports every way of ending the process, then takes the requested one.
int LeaveProcess(const std::vector<std::wstring>& arguments) {
    std::atexit([] { Say("atexit "); });
    ::AddVectoredExceptionHandler(1, VectoredHandler);
    ::SetUnhandledExceptionFilter(UnhandledFilter);
    Say("begin ");
    if (arguments.at(0) == L"fail-fast") {
        FailFastInvalidParameter();
    }
    if (arguments.at(0) == L"exception") {
        ::RaiseException(OtherCode, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    }
    return 7;
}

const test::ChildRoutine leaveProcess(L"leave-process", LeaveProcess);

TEST(FailFastInvalidParameter, EndsProcessWithItsCode_PastFiltersAndExitHandlers) {
    test::Child child(test::SelfCommandLine(L"leave-process", {L"fail-fast"}));
    EXPECT_EQ(child.Wait(), FailFastCode);
    EXPECT_EQ(child.Output(), "begin ");
}

// The two other ways prove that the reports of the test above would have been seen.

/// Runs a debugged process to its end. Returns the first parameter of its exception with `code`, or
/// nothing.
std::optional<ULONG_PTR> ParameterOfException(std::uint32_t code) {
    constexpr DWORD LimitMs = 60000;
    std::optional<ULONG_PTR> parameter;
    DEBUG_EVENT event = {};
    while (::WaitForDebugEvent(&event, LimitMs) != FALSE) {
        const EXCEPTION_RECORD& record = event.u.Exception.ExceptionRecord;
        const bool isException = event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT;
        if (isException && record.ExceptionCode == code && record.NumberParameters > 0) {
            parameter = record.ExceptionInformation[0];
        }
        // The initial breakpoint of every debugged process isn't for its handlers.
        const bool handled = isException && record.ExceptionCode == STATUS_BREAKPOINT;
        ::ContinueDebugEvent(event.dwProcessId, event.dwThreadId,
                             handled ? DBG_CONTINUE : DBG_EXCEPTION_NOT_HANDLED);
        if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) {
            break;
        }
    }
    return parameter;
}

TEST(FailFastInvalidParameter, DebuggerIsToldThatAParameterWasInvalid) {
    constexpr ULONG_PTR InvalidArgument = 5;
    test::ChildOptions options;
    options.creationFlags = DEBUG_ONLY_THIS_PROCESS;
    test::Child child(test::SelfCommandLine(L"leave-process", {L"fail-fast"}), options);
    EXPECT_EQ(ParameterOfException(FailFastCode), InvalidArgument);
    EXPECT_EQ(child.Wait(), FailFastCode);
}

TEST(FailFastInvalidParameter, ListenersHearAnOrdinaryException) {
    test::Child child(test::SelfCommandLine(L"leave-process", {L"exception"}));
    EXPECT_EQ(child.Wait(), OtherCode);
    EXPECT_EQ(child.Output(), "begin vectored filter ");
}

TEST(FailFastInvalidParameter, ListenersHearAnOrdinaryExit) {
    test::Child child(test::SelfCommandLine(L"leave-process", {L"exit"}));
    EXPECT_EQ(child.Wait(), 7U);
    EXPECT_EQ(child.Output(), "begin atexit ");
}

}  // namespace
}  // namespace framework
