// Command lines that end in the usage, or in the dump mode without a crashed process: output byte
// by byte, log record by record, exit code.

#include <gmock/gmock.h>

#include <ostream>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"
#include "tests/end-to-end/support/row_name.h"
#include "tests/end-to-end/support/usage.h"

namespace {

using test::Records;

const std::string NoOptionError = "Options should be started from '-' or '/'\r\n";
const std::string DumpError = "parameters for dump should be specified \r\n";
const std::string Banner = "!!! DUMP WAS CREATED !!!\r\n";

struct Row {
    const char* name;
    const wchar_t* commandLine;  ///< after the executable
    Records arguments;           ///< as the process sees them
    std::string output;
    Records body;  ///< log records between the parameters and the end
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class CommandLine : public testing::TestWithParam<Row> {};

TEST_P(CommandLine, PrintsAndLogsAsTold_AndExitsWithZero) {
    const Row& row = GetParam();
    const test::HostFolder host;
    const auto process = host.Start(row.commandLine);
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_EQ(process->Output(), row.output);
    EXPECT_EQ(host.OnlyLog(),
              test::WholeLog(process->ProcessId(), host.Executable(), row.arguments, row.body));
}

INSTANTIATE_TEST_SUITE_P(
    Usage, CommandLine,
    testing::Values(
        Row{"UnknownOption", L"-foo", {L"-foo"}, test::UsageOutput, {}},
        Row{"UnknownOptionWithSlash", L"/foo", {L"/foo"}, test::UsageOutput, {}},
        Row{"TwoHyphens", L"--run", {L"--run"}, test::UsageOutput, {}},
        Row{"LongerName", L"-runx", {L"-runx"}, test::UsageOutput, {}},
        Row{"HyphenAlone", L"-", {L"-"}, test::UsageOutput, {}},
        Row{"TestWithoutRun", L"-test", {L"-test"}, test::UsageOutput, {}},
        Row{"SleepTakesRunAsItsValue", L"-sleep -run", {L"-sleep", L"-run"}, test::UsageOutput, {}},
        Row{"SleepWithHexadecimalIsZero",
            L"-sleep 0x10",
            {L"-sleep", L"0x10"},
            test::UsageOutput,
            {}},
        Row{"PercentSignsInAnArgumentStay",
            L"\"-%s%n 100%\"",
            {L"-%s%n 100%"},
            test::UsageOutput,
            {}},
        Row{"ForeignLettersInAnArgumentStay",
            L"-\x0414\x0430\x4F8B",
            {L"-\x0414\x0430\x4F8B"},
            test::UsageOutput,
            {}}),
    test::RowName<Row>);

INSTANTIATE_TEST_SUITE_P(
    Errors, CommandLine,
    testing::Values(
        Row{"NoHyphen", L"run", {L"run"}, NoOptionError + test::UsageOutput, {}},
        Row{"EmptyArgument", L"\"\"", {L""}, NoOptionError + test::UsageOutput, {}},
        Row{"CharacterBesideTheHyphen", L".run", {L".run"}, NoOptionError + test::UsageOutput, {}},
        Row{"NoHyphenAfterRun",
            L"-run run",
            {L"-run", L"run"},
            NoOptionError + test::UsageOutput,
            {}},
        // Parsing ended before the last option, so the log still goes to the file.
        Row{"OptionsBehindTheErrorHaveNoEffect",
            L"run -log-console -run",
            {L"run", L"-log-console", L"-run"},
            NoOptionError + test::UsageOutput,
            {}},
        Row{"DumpWithoutValues", L"-dump", {L"-dump"}, DumpError + test::UsageOutput, {}},
        Row{"DumpWithOneValue", L"-dump 1", {L"-dump", L"1"}, DumpError + test::UsageOutput, {}},
        Row{"DumpWithOneValueAfterRun",
            L"-run -dump 1",
            {L"-run", L"-dump", L"1"},
            DumpError + test::UsageOutput,
            {}}),
    test::RowName<Row>);

INSTANTIATE_TEST_SUITE_P(
    DumpMode, CommandLine,
    testing::Values(Row{"ProcessThatIsNot",
                        L"-dump 4294967294 1 0",
                        {L"-dump", L"4294967294", L"1", L"0"},
                        Banner,
                        {test::E(L"OpenProcess for processId 4294967294 failed with error 87")}},
                    Row{"OptionsAreTakenAsItsValues",
                        L"-dump -run -test -zevrunzip",
                        {L"-dump", L"-run", L"-test", L"-zevrunzip"},
                        Banner,
                        {test::E(L"OpenProcess for processId 0 failed with error 87")}},
                    Row{"WinsOverAnEarlierRun",
                        L"-run -dump 0 0 0",
                        {L"-run", L"-dump", L"0", L"0", L"0"},
                        Banner,
                        {test::E(L"OpenProcess for processId 0 failed with error 87")}}),
    test::RowName<Row>);

/// The output's records and other lines, each without a time and line end.
Records LinesWithoutTime(const std::string& output) {
    constexpr std::size_t TimeLength = 21;  // [20201116-163012-345]
    Records lines;
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = output.find("\r\n", begin)) != std::string::npos;
         begin = end + 2) {
        const std::string line = output.substr(begin, end - begin);
        const bool isRecord = line.size() > TimeLength && line[0] == '[' && line[9] == '-' &&
                              line[TimeLength - 1] == ']';
        const std::string text = isRecord ? line.substr(TimeLength) : line;
        lines.emplace_back(text.begin(), text.end());
    }
    EXPECT_EQ(begin, output.size()) << "the output ends in the middle of a line";
    return lines;
}

TEST(LogConsole, UsageRun_ShowsTheRecordsOnStandardOutputAndMakesNoFolder) {
    const test::HostFolder host;
    const auto process = host.Start(L"-log-console");
    EXPECT_EQ(process->Wait(), 0U);
    Records lines = LinesWithoutTime(process->Output());
    Records usage = LinesWithoutTime(test::UsageOutput);
    const Records expected =
        test::Join({test::Header(process->ProcessId(), host.Executable()),
                    test::Parameters({host.Executable().wstring(), L"-log-console"}), usage,
                    test::OrderlyEnd()});
    ASSERT_EQ(lines.size(), expected.size());
    // The two dates differ in each run.
    lines[1] = expected[1];
    lines[2] = expected[2];
    EXPECT_EQ(lines, expected);
    EXPECT_TRUE(std::filesystem::is_empty(host.DataFolder()));
}

TEST(LogConsole, BeforeAnError_StillActs) {
    const test::HostFolder host;
    const auto process = host.Start(L"-log-console x");
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_THAT(process->Output(), testing::StartsWith(NoOptionError + "["));
    EXPECT_THAT(process->Output(), testing::HasSubstr(test::UsageOutput));
    EXPECT_TRUE(std::filesystem::is_empty(host.DataFolder()));
}

}  // namespace
