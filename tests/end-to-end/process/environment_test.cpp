// Unusual environments of the process: odd folders, no log folder, a second instance.

#include <gmock/gmock.h>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/end-to-end/support/usage.h"
#include "version/version.h"

namespace {

using test::Records;

TEST(ExecutablePath, BlanksAndForeignLetters_StandInTheLog) {
    const test::HostFolder host(L"a b \x00FC\x0416\x4F8B");
    const auto process = host.Start(L"-foo");
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_EQ(process->Output(), test::UsageOutput);
    EXPECT_EQ(host.OnlyLog(),
              test::WholeLog(process->ProcessId(), host.Executable(), {L"-foo"}, {}));
}

TEST(ExecutablePath, BlanksAndForeignLetters_OnTheConsoleToo) {
    const test::HostFolder host(L"a b \x00FC\x0416\x4F8B");
    const auto process = host.Start(L"-log-console");
    EXPECT_EQ(process->Wait(), 0U);
    const std::string folder = "a b \xC3\xBC\xD0\x96\xE4\xBE\x8B\\tarnwick-service.exe";
    EXPECT_THAT(process->Output(), testing::HasSubstr(folder + "'\r\n"));
    EXPECT_THAT(process->Output(), testing::HasSubstr(folder + "\r\n"));
}

// The header is formatted twice, a parameter line once.
TEST(ExecutablePath, DoubledPercentSign_IsHalvedInTheHeaderAlone) {
    const test::HostFolder host(L"a%%b");
    const auto process = host.Start(L"-foo");
    EXPECT_EQ(process->Wait(), 0U);
    std::wstring halved = host.Executable().wstring();
    halved.erase(halved.find(L"%%"), 1);
    EXPECT_EQ(host.OnlyLog(), test::Join({test::Header(process->ProcessId(), halved),
                                          test::Parameters({host.Executable().wstring(), L"-foo"}),
                                          test::OrderlyEnd()}));
}

TEST(ExecutablePath, StrayConversions_DoNotReadPastTheArguments) {
    const test::HostFolder host(L"100%s%n%ls%p%");
    const auto process = host.Start(L"-foo");
    EXPECT_EQ(process->Wait(), 0U);
    const Records log = host.OnlyLog();
    ASSERT_GE(log.size(), 4U);
    EXPECT_THAT(log[0], testing::StartsWith(test::T(
                            L"build: " + std::to_wstring(version::BuildNumber) + L", process: ")));
    EXPECT_THAT(log, testing::Contains(test::T(L"Parameter 0 = " + host.Executable().wstring())));
}

class FileInPlaceOfAFolder : public testing::TestWithParam<const wchar_t*> {};

TEST_P(FileInPlaceOfAFolder, RunGoesOnWithoutALog) {
    const test::HostFolder host;
    const std::filesystem::path inTheWay = host.DataFolder() / GetParam();
    std::filesystem::create_directories(inTheWay.parent_path());
    test::WriteFileBytes(inTheWay, "in the way");
    const auto process = host.Start(L"-foo");
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_EQ(process->Output(), test::UsageOutput);
    EXPECT_EQ(test::ReadBytes(inTheWay), "in the way");
}

INSTANTIATE_TEST_SUITE_P(Levels, FileInPlaceOfAFolder,
                         testing::Values(L"Velmora", L"Velmora\\Quillon",
                                         L"Velmora\\Quillon\\Logs"));

TEST(TwoInstances, EachHasALogFileOfItsOwn) {
    const test::HostFolder host;
    const test::SharedEvent loaded(host, "loaded");
    const test::SharedEvent goOn(host, "go-on");
    host.Script("on bootstrap set-event " + loaded.Name() + "\non bootstrap wait-event " +
                goOn.Name() + " 30000\n");
    const auto first = host.Start(L"-zevrunzip");
    ASSERT_TRUE(loaded.Wait());
    const auto second = host.Start(L"-foo");
    EXPECT_EQ(second->Wait(), 0U);
    EXPECT_EQ(test::LogFilesIn(host.Logs()).size(), 2U);
    goOn.Set();
    EXPECT_EQ(first->Wait(), 0U);
    const auto files = test::LogFilesIn(host.Logs());
    ASSERT_EQ(files.size(), 2U);
    // The start time is in the name, so the first one's file is first.
    EXPECT_EQ(test::ReadLogRecords(files[0]),
              test::WholeLog(first->ProcessId(), host.Executable(), {L"-zevrunzip"}, {}));
    EXPECT_EQ(test::ReadLogRecords(files[1]),
              test::WholeLog(second->ProcessId(), host.Executable(), {L"-foo"}, {}));
}

}  // namespace
