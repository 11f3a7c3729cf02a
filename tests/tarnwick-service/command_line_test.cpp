#include "tarnwick-service/command_line.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/tarnwick-service/command_line_model.h"

namespace tarnwick {
namespace {

using Arguments = std::vector<std::wstring>;

constexpr const char* NoOption = "Options should be started from '-' or '/'\n";
constexpr const char* NoDumpValues = "parameters for dump should be specified \n";

/// The arguments as the run-time library passes them: the program's name first, a null entry at the
/// end.
class ArgumentVector {
  public:
    explicit ArgumentVector(Arguments arguments) : texts_(std::move(arguments)) {
        texts_.insert(texts_.begin(), L"tarnwick-service.exe");
        for (const std::wstring& text : texts_) {
            pointers_.push_back(text.c_str());
        }
        pointers_.push_back(nullptr);
    }
    ArgumentVector(const ArgumentVector&) = delete;
    ArgumentVector& operator=(const ArgumentVector&) = delete;

    [[nodiscard]] int Count() const { return static_cast<int>(texts_.size()); }
    [[nodiscard]] const wchar_t* const* Get() const { return pointers_.data(); }

  private:
    Arguments texts_;
    std::vector<const wchar_t*> pointers_;
};

std::string Narrow(const wchar_t* text) {
    std::string narrow;
    for (; *text != 0; ++text) {
        narrow += static_cast<char>(*text);
    }
    return narrow;
}

std::string Name(RunMode mode) {
    switch (mode) {
        case RunMode::Usage:
            return "usage";
        case RunMode::Service:
            return "service";
        case RunMode::Console:
            return "console";
        case RunMode::Dump:
            return "dump";
        case RunMode::Unpack:
            return "unpack";
    }
    return "unknown";
}

std::string Describe(const CommandLine& line) {
    std::string dump = "none";
    if (line.processIdText != nullptr && line.threadIdText != nullptr) {
        dump = Narrow(line.processIdText) + "|" + Narrow(line.threadIdText) + "|" +
               (line.exceptionInformationText == nullptr
                    ? "null"
                    : "'" + Narrow(line.exceptionInformationText) + "'");
    }
    return Name(line.mode) + (line.test ? " test" : "") + (line.logConsole ? " log-console" : "") +
           " sleep " + std::to_string(line.sleepSeconds) + " dump " + dump +
           (line.error == nullptr ? "" : " error " + Narrow(line.error));
}

std::string Parse(const Arguments& arguments) {
    const ArgumentVector argumentVector(arguments);
    return Describe(ParseCommandLine(argumentVector.Count(), argumentVector.Get()));
}

/// The result of a line without errors.
std::string Good(const std::string& mode, const std::string& dump = "none",
                 std::uint32_t seconds = 0) {
    return mode + " sleep " + std::to_string(seconds) + " dump " + dump;
}

std::string Bad(const std::string& flags, const char* error, std::uint32_t seconds = 0,
                const std::string& dump = "none") {
    return "usage" + flags + " sleep " + std::to_string(seconds) + " dump " + dump + " error " +
           error;
}

struct Row {
    const char* name;
    Arguments arguments;
    std::string result;
};

/// The model of the fuzz test below must agree with the tables too.
void ExpectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Parse(row.arguments), row.result);
        EXPECT_EQ(test::ModelOfCommandLine(row.arguments), row.result);
    }
}

TEST(CommandLineTable, Options_ChooseModesAndFlagsWhateverTheirCase) {
    ExpectRows(
        {Row{"NoArgument", {}, Good("service")},
         Row{"Run", {L"-run"}, Good("console")},
         Row{"Slash", {L"/RUN"}, Good("console")},
         Row{"MixedCase", {L"-rUn"}, Good("console")},
         Row{"TwoDashes", {L"--run"}, Good("usage")},
         Row{"Longer", {L"-runx"}, Good("usage")},
         Row{"Shorter", {L"-ru"}, Good("usage")},
         Row{"DashSlash", {L"-/run"}, Good("usage")},
         Row{"DashAlone", {L"-"}, Good("usage")},
         Row{"SlashAlone", {L"/"}, Good("usage")},
         Row{"BlankBehind", {L"-run "}, Good("usage")},
         Row{"Unknown", {L"-foo"}, Good("usage")},
         Row{"UnknownIsSkipped", {L"-foo", L"-run", L"/bar"}, Good("console")},
         Row{"Unpack", {L"-ZevrUnzip"}, Good("unpack")},
         Row{"Test", {L"-test"}, Good("usage test")},
         Row{"TestAndRun", {L"/Test", L"-run"}, Good("console test")},
         Row{"LogConsole", {L"-LOG-console"}, Good("usage log-console")},
         Row{"LogConsoleUnpack", {L"-zevrunzip", L"-log-console"}, Good("unpack log-console")},
         Row{"LaterModeWins", {L"-run", L"-zevrunzip"}, Good("unpack")},
         Row{"LaterRunWins", {L"-zevrunzip", L"-run"}, Good("console")},
         Row{"FlagsTwice", {L"-test", L"-test", L"-run"}, Good("console test")}});
}

TEST(CommandLineTable, FirstCharacter_DecidesAndAnErrorEndsTheWalk) {
    ExpectRows(
        {Row{"PlainWord", {L"run"}, Bad("", NoOption)}, Row{"Empty", {L""}, Bad("", NoOption)},
         Row{"Blank", {L" -run"}, Bad("", NoOption)}, Row{"Comma", {L",run"}, Bad("", NoOption)},
         // The neighbours of '-' and '/', and characters that differ from them by one bit or by
         // 65536.
         Row{"Dot", {L".run"}, Bad("", NoOption)}, Row{"Zero", {L"0run"}, Bad("", NoOption)},
         Row{"BitOne", {L"+run"}, Bad("", NoOption)}, Row{"Lower", {L"\xDrun"}, Bad("", NoOption)},
         Row{"HighByte", {L"\x12D\x72un"}, Bad("", NoOption)},
         Row{"LongDash", {L"\x2013run"}, Bad("", NoOption)},
         Row{"ErrorAfterRun", {L"-run", L"x"}, Bad("", NoOption)},
         Row{"FlagsBeforeStay",
             {L"-log-console", L"-sleep", L"5", L"x", L"-test"},
             Bad(" log-console", NoOption, 5)},
         Row{"LaterArgumentsCountNothing", {L"x", L"-run", L"-sleep", L"9"}, Bad("", NoOption)},
         Row{"DumpTextsStay",
             {L"-dump", L"1", L"2", L"3", L"x"},
             Bad("", NoOption, 0, "1|2|'3'")}});
}

TEST(CommandLineTable, Sleep_TakesTheNextArgumentBlindlyAsADecimalNumber) {
    ExpectRows(
        {Row{"Count", {L"-sleep", L"5"}, Good("usage", "none", 5)},
         Row{"AndRun", {L"-sleep", L"5", L"-run"}, Good("console", "none", 5)},
         Row{"LaterWins", {L"-sleep", L"5", L"-sleep", L"0"}, Good("usage", "none", 0)},
         Row{"ForeignText", {L"-sleep", L"abc", L"-run"}, Good("console")},
         Row{"OptionAsValue", {L"-sleep", L"-run"}, Good("usage")},
         Row{"SleepAsValue", {L"-sleep", L"-sleep"}, Good("usage")},
         Row{"EmptyValue", {L"-sleep", L"", L"-run"}, Good("console")},
         Row{"Hexadecimal", {L"-sleep", L"0x10"}, Good("usage")},
         Row{"LeadingZeroIsNotOctal", {L"-sleep", L"010"}, Good("usage", "none", 10)},
         Row{"WhiteSpaceAndSign", {L"-sleep", L" \t+7"}, Good("usage", "none", 7)},
         Row{"TrailingText", {L"-sleep", L"12s"}, Good("usage", "none", 12)},
         Row{"Negative", {L"-sleep", L"-1"}, Good("usage", "none", 4294967295U)},
         Row{"LargestNumber", {L"-sleep", L"2147483647"}, Good("usage", "none", 2147483647)},
         Row{"OneMore", {L"-sleep", L"2147483648"}, Good("usage", "none", 2147483647)},
         Row{"FarMore", {L"-sleep", L"99999999999999999999"}, Good("usage", "none", 2147483647)},
         Row{"SmallestNumber", {L"-sleep", L"-2147483648"}, Good("usage", "none", 2147483648U)},
         Row{"OneLess", {L"-sleep", L"-2147483649"}, Good("usage", "none", 2147483648U)}});
}

TEST(CommandLineTable, Dump_TakesThreeArgumentsBlindlyAndMissesTheThird) {
    ExpectRows(
        {Row{"NoValue", {L"-dump"}, Bad("", NoDumpValues)},
         Row{"OneValue", {L"-dump", L"1"}, Bad("", NoDumpValues)},
         Row{"NoValueAfterRun", {L"-run", L"-dump"}, Bad("", NoDumpValues)},
         Row{"OneValueAfterFlags",
             {L"-test", L"-sleep", L"3", L"-dump", L"1"},
             Bad(" test", NoDumpValues, 3)},
         Row{"TwoValues", {L"-dump", L"1", L"2"}, Good("dump", "1|2|null")},
         Row{"TwoValuesBehindAnother", {L"-run", L"-dump", L"1", L"2"}, Good("dump", "1|2|null")},
         Row{"ThreeValues", {L"/DUMP", L"1", L"2", L"3"}, Good("dump", "1|2|'3'")},
         Row{"OptionsAsValues",
             {L"-dump", L"-run", L"-test", L"-zevrunzip"},
             Good("dump", "-run|-test|'-zevrunzip'")},
         Row{"RunBehind", {L"-dump", L"1", L"2", L"3", L"-run"}, Good("console", "1|2|'3'")},
         Row{"UnpackBehind",
             {L"-dump", L"1", L"2", L"3", L"-zevrunzip"},
             Good("unpack", "1|2|'3'")},
         Row{"FourthValue", {L"-dump", L"1", L"2", L"3", L"4"}, Bad("", NoOption, 0, "1|2|'3'")},
         Row{"LaterValuesWin",
             {L"-dump", L"1", L"2", L"3", L"-dump", L"4", L"5", L"6"},
             Good("dump", "4|5|'6'")},
         Row{"LaterGapWins",
             {L"-dump", L"1", L"2", L"3", L"-dump", L"4", L"5"},
             Good("dump", "4|5|null")}});
}

TEST(CommandLine, CountBelowOne_IsUsage) {
    EXPECT_EQ(Describe(ParseCommandLine(0, nullptr)), Good("usage"));
    EXPECT_EQ(Describe(ParseCommandLine(-1, nullptr)), Good("usage"));
}

TEST(CommandLine, DumpTexts_PointIntoTheArguments) {
    const ArgumentVector arguments({L"-dump", L"1", L"2", L"3"});
    const CommandLine line = ParseCommandLine(arguments.Count(), arguments.Get());
    EXPECT_EQ(line.processIdText, arguments.Get()[2]);
    EXPECT_EQ(line.threadIdText, arguments.Get()[3]);
    EXPECT_EQ(line.exceptionInformationText, arguments.Get()[4]);
}

TEST(CommandLine, ModeNumbers_AreFixed) {
    EXPECT_EQ(static_cast<int>(RunMode::Usage), 0);
    EXPECT_EQ(static_cast<int>(RunMode::Service), 1);
    EXPECT_EQ(static_cast<int>(RunMode::Console), 2);
    EXPECT_EQ(static_cast<int>(RunMode::Dump), 3);
    EXPECT_EQ(static_cast<int>(RunMode::Unpack), 4);
}

// Random lines, the same in every run, against the model.
TEST(CommandLine, RandomLines_AgreeWithTheModel) {
    const Arguments words = {
        L"-run",  L"/RUN",  L"-test",       L"-log-console", L"-sleep", L"/Sleep",
        L"-dump", L"-DUMP", L"-zevrunzip",  L"--run",        L"-runx",  L"-",
        L"",      L"x",     L"5",           L"-1",           L"abc",    L" +12z",
        L"-0x10", L"0x10",  L"99999999999", L"-99999999999", L"-foo",   L"/"};
    constexpr int LineCount = 200000;
    constexpr std::size_t LongestLine = 9;
    std::mt19937 random(804);
    int abnormalEnds = 0;
    for (int line = 0; line < LineCount; ++line) {
        Arguments arguments(random() % (LongestLine + 1));
        for (std::wstring& argument : arguments) {
            argument = words[random() % words.size()];
        }
        const std::string expected = test::ModelOfCommandLine(arguments);
        if (expected == "abnormal end") {
            ++abnormalEnds;  // not in this process; see below
            continue;
        }
        ASSERT_EQ(Parse(arguments), expected) << testing::PrintToString(arguments);
    }
    EXPECT_LT(abnormalEnds, LineCount / 10);
}

const test::ChildRoutine parse(L"parse-command-line", [](const Arguments& arguments) {
    static_cast<void>(Parse(arguments));
    return 0;
});

TEST(CommandLineProcess, SleepWithoutAValue_EndsTheProcessInSilence) {
    const Arguments lines[] = {{L"-sleep"},
                               {L"-run", L"-sleep"},
                               {L"-sleep", L"1", L"/SLEEP"},
                               {L"-dump", L"1", L"2", L"3", L"-sleep"}};
    for (const Arguments& arguments : lines) {
        EXPECT_EQ(test::ModelOfCommandLine(arguments), "abnormal end");
        test::Child child(test::SelfCommandLine(L"parse-command-line", arguments));
        EXPECT_EQ(child.Wait(), 0xC0000409U) << testing::PrintToString(arguments);
        EXPECT_EQ(child.Output(), "");
    }
}

TEST(CommandLineProcess, SleepWithAValue_DoesNotEndTheProcess) {
    test::Child child(test::SelfCommandLine(L"parse-command-line", {L"-sleep", L"-sleep"}));
    EXPECT_EQ(child.Wait(), 0U);
}

}  // namespace
}  // namespace tarnwick
