// `-sleep`: how long, and at which point of the start-up.

#include <gmock/gmock.h>

#include <ostream>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/end-to-end/support/row_name.h"

namespace {

struct Row {
    const char* name;
    const wchar_t* commandLine;
    std::vector<std::uint64_t> sleeps;  ///< milliseconds of each call of the platform's Sleep
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class SleepOption : public testing::TestWithParam<Row> {};

TEST_P(SleepOption, SleepsForTheProductIn32Bits) {
    const test::HostFolder host;
    // The call is recorded and not forwarded, because some of these are weeks.
    host.Script("fail-import Sleep every 0 0\ntrace-import Sleep\n");
    const auto process = host.Start(GetParam().commandLine);
    EXPECT_EQ(process->Wait(), 0U);
    std::vector<std::uint64_t> sleeps;
    for (const auto& call : host.ReadTranscript().With("import", "Sleep")) {
        if (call.Has("phase", "enter")) {
            sleeps.push_back(call.Number("arg1") & 0xFFFFFFFF);
        }
    }
    EXPECT_EQ(sleeps, GetParam().sleeps);
}

INSTANTIATE_TEST_SUITE_P(
    Values, SleepOption,
    testing::Values(Row{"Five", L"-sleep 5", {5000}}, Row{"ZeroIsNoCall", L"-sleep 0", {}},
                    Row{"TextIsNoCall", L"-sleep abc", {}},
                    Row{"HexadecimalIsNoCall", L"-sleep 0x10", {}},
                    Row{"StopsAtAForeignCharacter", L"-sleep 3x9", {3000}},
                    Row{"WhiteSpaceAndSign", L"-sleep \" \t+7\"", {7000}},
                    Row{"Negative", L"-sleep -1", {4294966296}},
                    Row{"ProductWraps", L"-sleep 4294968", {704}},
                    Row{"OverflowSaturatesBeforeTheProduct", L"-sleep 99999999999", {4294966296}},
                    Row{"LaterOneWins", L"-sleep 5 -sleep 2", {2000}},
                    Row{"LaterZeroCancels", L"-sleep 5 -sleep 0", {}},
                    Row{"BeforeAnErrorStillActs", L"-sleep 5 x", {5000}},
                    Row{"BehindAnErrorHasNoEffect", L"x -sleep 5", {}}),
    test::RowName<Row>);

TEST(SleepOption, StandsBetweenTheFilterAndTheParameterLines) {
    const test::HostFolder host;
    const test::SharedEvent asleep(host, "asleep");
    const test::SharedEvent goOn(host, "go-on");
    host.Script("routine pause set-event " + asleep.Name() + "\nroutine pause wait-event " +
                goOn.Name() + " 30000\nbefore-import Sleep 1 call pause\n");
    const auto process = host.Start(L"-sleep 1");
    ASSERT_TRUE(asleep.Wait());
    const auto files = test::LogFilesIn(host.Logs());
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(test::ReadLogRecords(files[0]),
              test::Header(process->ProcessId(), host.Executable()));
    EXPECT_EQ(process->Output(), "");
    goOn.Set();
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_EQ(host.OnlyLog(),
              test::WholeLog(process->ProcessId(), host.Executable(), {L"-sleep", L"1"}, {}));
}

}  // namespace
