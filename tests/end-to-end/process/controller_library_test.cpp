// A controller library that is missing, isn't a library, or refuses to load. The executable imports
// from it, so no mode starts without it, and none hangs.

#include <gmock/gmock.h>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"
#include "tests/end-to-end/support/log_files.h"

namespace {

constexpr std::uint32_t DllNotFound = 0xC0000135;
constexpr std::uint32_t DllInitFailed = 0xC0000142;
constexpr std::uint32_t EntryPointNotFound = 0xC0000139;
constexpr std::uint32_t InvalidImageFormat = 0xC000007B;
/// Wine starts a program with missing imports, and raises this when one of them is called.
constexpr std::uint32_t WineStub = 0x80000100;

class AnyMode : public testing::TestWithParam<const wchar_t*> {};

TEST_P(AnyMode, MissingLibrary_ProcessDoesNotStart) {
    const test::HostFolder host;
    std::filesystem::remove(host.Library());
    const auto process = host.Start(GetParam());
    EXPECT_EQ(process->Wait(), DllNotFound);
    EXPECT_EQ(process->Output(), "");
    EXPECT_TRUE(std::filesystem::is_empty(host.DataFolder()));
}

INSTANTIATE_TEST_SUITE_P(Modes, AnyMode,
                         testing::Values(L"", L"-run", L"-foo", L"-zevrunzip", L"-dump 1 2 3",
                                         L"-sleep"));

TEST(ControllerLibrary, FileThatIsNoLibrary_ProcessDoesNotStart) {
    const test::HostFolder host;
    test::WriteFileBytes(host.Library(), "no library at all");
    const auto process = host.Start(L"-run");
    EXPECT_THAT(process->Wait(), testing::AnyOf(InvalidImageFormat, DllNotFound));
    EXPECT_EQ(process->Output(), "");
    EXPECT_TRUE(std::filesystem::is_empty(host.DataFolder()));
}

TEST(ControllerLibrary, RefusesToBeLoaded_ProcessDoesNotStart) {
    const test::HostFolder host;
    host.Script("on attach return 1\n");
    const auto process = host.Start(L"-run");
    EXPECT_EQ(process->Wait(), DllInitFailed);
    EXPECT_TRUE(std::filesystem::is_empty(host.DataFolder()));
}

TEST(ControllerLibrary, LibraryWithoutTheExports_EndsWithACodeAndDoesNotHang) {
    wchar_t system[MAX_PATH] = {};
    ASSERT_NE(::GetSystemDirectoryW(system, MAX_PATH), 0U);
    const test::HostFolder host;
    std::filesystem::remove(host.Library());
    std::filesystem::copy_file(std::filesystem::path(system) / L"version.dll", host.Library());
    const auto process = host.Start(L"-run");
    EXPECT_THAT(process->Wait(), testing::AnyOf(EntryPointNotFound, WineStub));
}

TEST(ControllerLibrary, BrokenScript_IsToldOnStandardErrorAndInTheLog) {
    const test::HostFolder host;
    host.Script("on activate retrun 5\n");
    const auto process = host.Start(L"-run");
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_THAT(process->Output(), testing::HasSubstr("orrin-ctrl: broken controller script"));
    EXPECT_THAT(
        host.OnlyLog(),
        testing::Contains(test::E(L"OrrinCreateComponentModelController failed with error 92")));
}

TEST(NoArgument, FromAConsole_BuildsAndFreesTheControllerAndSaysNothing) {
    const test::HostFolder host;
    // The dispatcher's immediate result on Windows; Wine's real one takes ten seconds.
    host.Script("fail-import StartServiceCtrlDispatcherW 1 1063\n");
    const auto process = host.Start();
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_EQ(process->Output(), "");
    EXPECT_EQ(host.OnlyLog(),
              test::WholeLog(process->ProcessId(), host.Executable(), {},
                             {test::T(L"CoInitializeEx successed"),
                              test::T(L"OrrinFreeComponentModelController successed")}));
    EXPECT_THAT(host.ReadTranscript().Calls(), testing::ElementsAre("create", "free"));
}

}  // namespace
