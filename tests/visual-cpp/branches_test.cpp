// The product's branches for Visual C++, compiled by clang and run here.

#include <gtest/gtest.h>

#include <cstdint>

#include "framework/system/fail_fast.h"
#include "framework/system/platform.h"
#include "tarnwick-service/filter_frame.h"
#include "tests/support/child_process.h"

namespace {

constexpr std::uint32_t VisualCppException = 0xE06D7363;
constexpr std::uint32_t FilterEntered = 0xE0000077;

LONG WINAPI EndWithOwnCode(EXCEPTION_POINTERS* pointers) {
    ::TerminateProcess(::GetCurrentProcess(),
                       pointers->ExceptionRecord->ExceptionCode == VisualCppException
                           ? FilterEntered
                           : pointers->ExceptionRecord->ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

LONG WINAPI LetItPass(EXCEPTION_POINTERS* /*pointers*/) {
    return EXCEPTION_CONTINUE_SEARCH;
}

/// Raises a C++ exception like Visual C++'s, with an outer frame that would handle it.
int ThrowOnTheFrame(LPTOP_LEVEL_EXCEPTION_FILTER filter) {
    ::SetErrorMode(SEM_NOGPFAULTERRORBOX);
    ::SetUnhandledExceptionFilter(filter);
    tarnwick::CallOnFilterFrame(
        [] { ::RaiseException(VisualCppException, EXCEPTION_NONCONTINUABLE, 0, nullptr); });
    return 0;
}

const test::ChildRoutine throwWithFilter(L"throw-with-filter", [](const auto&) {
    return ThrowOnTheFrame(EndWithOwnCode);
});
const test::ChildRoutine throwPastFilter(L"throw-past-filter",
                                         [](const auto&) { return ThrowOnTheFrame(LetItPass); });
const test::ChildRoutine failFast(L"fail-fast", [](const auto&) -> int {
    framework::FailFastInvalidParameter();
});

TEST(VisualCppBranches, CallOnFilterFrame_UncaughtException_EntersTheFilter) {
    test::Child child(test::SelfCommandLine(L"throw-with-filter"));
    EXPECT_EQ(child.Wait(), FilterEntered);
}

TEST(VisualCppBranches, CallOnFilterFrame_FilterThatReturns_EndsWithTheExceptionsCode) {
    test::Child child(test::SelfCommandLine(L"throw-past-filter"));
    EXPECT_EQ(child.Wait(), VisualCppException);
}

TEST(VisualCppBranches, CallOnFilterFrame_WithoutException_Returns) {
    int value = 0;
    tarnwick::CallOnFilterFrame([&value] { value = 7; });
    EXPECT_EQ(value, 7);
}

TEST(VisualCppBranches, FailFastInvalidParameter_EndsWithItsCode) {
    test::Child child(test::SelfCommandLine(L"fail-fast"));
    EXPECT_EQ(child.Wait(), 0xC0000409U);
}

}  // namespace
