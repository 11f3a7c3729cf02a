// A really corrupt heap. Other tests raise the platform's exception for it.

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>

#include "framework/exception/exception_filter.h"
#include "framework/system/platform.h"
#include "tests/support/child_process.h"
#include "tests/support/scratch_folder.h"

namespace framework {
namespace {

constexpr std::uint32_t HeapCorruption = 0xC0000374;

/// Frees a block twice. Argument: the path of the dump.
int FreeTwice(const std::vector<std::wstring>& arguments) {
    const ExceptionFilter filter({nullptr, nullptr, 0, arguments.at(0).c_str(), 0});
    ::HeapSetInformation(nullptr, HeapEnableTerminationOnCorruption, nullptr, 0);
    void* const block = ::HeapAlloc(::GetProcessHeap(), 0, 100);
    ::HeapFree(::GetProcessHeap(), 0, block);
    ::HeapFree(::GetProcessHeap(), 0, block);
    return 0;
}
const test::ChildRoutine freeTwice(L"free-twice", FreeTwice);

TEST(CorruptHeap, OnWindows_LeavesADumpAndEndsWithItsCode) {
    if (::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr) {
        GTEST_SKIP() << "Wine does not detect a corrupt heap";
    }
    const test::ScratchFolder folder;
    const std::filesystem::path dump = folder.Path() / L"a.dmp";
    test::Child child(test::SelfCommandLine(L"free-twice", {dump.wstring()}));
    EXPECT_EQ(child.Wait(), HeapCorruption);
    EXPECT_TRUE(std::filesystem::exists(dump)) << "the handler wasn't entered";
}

}  // namespace
}  // namespace framework
