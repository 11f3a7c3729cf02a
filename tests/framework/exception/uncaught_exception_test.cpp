#include "framework/exception/uncaught_exception.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "framework/exception/exception_filter.h"
#include "tests/support/child_process.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"

namespace framework {
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
    SendUncaughtExceptionsToFilter();
    const ExceptionFilter filter({nullptr, nullptr, 0, arguments.at(0).c_str(), 0});
    throw std::runtime_error("nobody catches this");
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

}  // namespace
}  // namespace framework
