#include "tarnwick-service/filter_frame.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "framework/exception/exception_filter.h"
#include "tests/support/child_process.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"

namespace tarnwick {
namespace {

#ifdef _MSC_VER
constexpr std::uint32_t CppException = 0xE06D7363;
#else
constexpr std::uint32_t CppException = 0x20474343;
#endif

/// Arguments: the dump's path, and whether the dump can be written.
int ThrowOnTheMainThread(const std::vector<std::wstring>& arguments) {
    const bool writes = arguments.at(1) == L"yes";
    const test::ScopedHook<test::MiniDumpWriteDumpHook> hook([writes](auto...) {
        ::SetLastError(ERROR_DISK_FULL);
        return writes ? TRUE : FALSE;
    });
    const framework::ExceptionFilter filter({nullptr, nullptr, 0, arguments.at(0).c_str(), 0});
    CallOnFilterFrame([](const void*) { throw std::runtime_error("nobody catches this"); },
                      nullptr);
    return 0;
}
const test::ChildRoutine throwOnTheMainThread(L"throw-on-the-main-thread", ThrowOnTheMainThread);

class UncaughtException : public ::testing::TestWithParam<const wchar_t*> {};

TEST_P(UncaughtException, OnTheMainThread_ReachesTheFilterAndEndsWithItsCode) {
    const test::ScratchFolder folder;
    const std::filesystem::path dump = folder.Path() / L"a.dmp";
    test::Child child(
        test::SelfCommandLine(L"throw-on-the-main-thread", {dump.wstring(), GetParam()}));
    EXPECT_EQ(child.Wait(), CppException);
    EXPECT_TRUE(std::filesystem::exists(dump)) << "the filter wasn't entered";
}

INSTANTIATE_TEST_SUITE_P(DumpWritten, UncaughtException, ::testing::Values(L"yes", L"no"),
                         [](const auto& test) {
                             return std::string(test.index == 0 ? "Yes" : "No");
                         });

/// Arguments: the dump's path. The dump can't be written, so that whoever comes next ends the
/// process.
int FaultOnTheMainThread(const std::vector<std::wstring>& arguments) {
    const test::ScopedHook<test::MiniDumpWriteDumpHook> hook([](auto...) {
        ::SetLastError(ERROR_DISK_FULL);
        return FALSE;
    });
    const framework::ExceptionFilter filter({nullptr, nullptr, 0, arguments.at(0).c_str(), 0});
    CallOnFilterFrame(
        [](const void*) {
            ::RaiseException(STATUS_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
        },
        nullptr);
    return 0;
}
const test::ChildRoutine faultOnTheMainThread(L"fault-on-the-main-thread", FaultOnTheMainThread);

TEST(CallOnFilterFrame, AnyOtherException_PassesTheFrameAndEndsWithItsOwnCode) {
    const test::ScratchFolder folder;
    const std::filesystem::path dump = folder.Path() / L"a.dmp";
    test::Child child(test::SelfCommandLine(L"fault-on-the-main-thread", {dump.wstring()}));
    EXPECT_EQ(child.Wait(), static_cast<std::uint32_t>(STATUS_ACCESS_VIOLATION));
    EXPECT_TRUE(std::filesystem::exists(dump)) << "the filter wasn't entered";
}

/// Throws and catches above the frame, then gives the argument back as the exit code.
int CatchAboveTheFrame(const std::vector<std::wstring>&) {
    static int seen = 0;
    constexpr int Given = 77;
    CallOnFilterFrame(
        [](const void* argument) {
            try {
                throw std::runtime_error("caught at once");
            } catch (const std::exception&) {
                seen = *static_cast<const int*>(argument);
            }
        },
        &Given);
    return seen;
}
const test::ChildRoutine catchAboveTheFrame(L"catch-above-the-frame", CatchAboveTheFrame);

TEST(CallOnFilterFrame, CaughtException_StaysWithItsCatcherAndTheCallComesBack) {
    test::Child child(test::SelfCommandLine(L"catch-above-the-frame"));
    EXPECT_EQ(child.Wait(), 77U);
}

}  // namespace
}  // namespace tarnwick
