// The two command lines that end the process because of a missing value.

#include <gmock/gmock.h>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"
#include "tests/end-to-end/support/log_files.h"

namespace {

/// The fail-fast of an invalid parameter.
constexpr std::uint32_t StackBufferOverrun = 0xC0000409;

class SleepInLastPlace : public testing::TestWithParam<const wchar_t*> {};

TEST_P(SleepInLastPlace, EndsInsideTheParserWithoutAWord) {
    const test::HostFolder host;
    const auto process = host.Start(GetParam());
    EXPECT_EQ(process->Wait(), StackBufferOverrun);
    EXPECT_EQ(process->Output(), "");
    EXPECT_TRUE(std::filesystem::is_empty(host.DataFolder()));
}

INSTANTIATE_TEST_SUITE_P(AbnormalEnd, SleepInLastPlace,
                         testing::Values(L"-sleep", L"-run -sleep", L"-log-console -sleep",
                                         L"/SLEEP", L"-sleep 0 -sleep"));

TEST(DumpWithTwoValues, EndsAtTheThirdWithoutBannerAndLeavesTheLogOpen) {
    const test::HostFolder host;
    const auto process = host.Start(L"-dump 1 2");
    EXPECT_EQ(process->Wait(), StackBufferOverrun);
    EXPECT_EQ(process->Output(), "");
    const auto files = test::LogFilesIn(host.Logs());
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].extension(), L".log");
    EXPECT_EQ(test::ReadLogRecords(files[0]),
              test::Join({test::Header(process->ProcessId(), host.Executable()),
                          test::Parameters({host.Executable().wstring(), L"-dump", L"1", L"2"})}));
}

}  // namespace
