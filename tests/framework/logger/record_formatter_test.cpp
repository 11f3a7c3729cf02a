#include "framework/logger/record_formatter.h"

#include <gmock/gmock.h>

#include <cstdarg>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/fixed_clock.h"

namespace framework {
namespace {

using ::testing::TestWithParam;
using ::testing::ValuesIn;

constexpr std::size_t LongestMessage = 16383;
constexpr std::uint32_t InvalidParameterExit = 0xC0000409;
/// "[20201116-163012-345][][] ", the head of an empty tag and an empty component.
constexpr std::size_t EmptyHead = 26;
/// "[(line 42): wmain] ", the source location of an empty file name.
constexpr std::size_t EmptyLocation = 19;

const SYSTEMTIME SampleTime = test::Moment(2020, 11, 16, 16, 30, 12, 345);

RecordInfo SampleInfo() {
    return {L"T", L"quillon", L"C:\\src\\main", L"wmain", 42};
}

void FormatInto(std::wstring& out, const RecordFormatter& formatter, const RecordInfo& info,
                const wchar_t* format, ...) {
    std::va_list args;
    va_start(args, format);
    formatter.Format(out, info, format, args);
    va_end(args);
}

void FormatTextInto(std::wstring& out, const wchar_t* format, ...) {
    std::va_list args;
    va_start(args, format);
    FormatText(out, format, args);
    va_end(args);
}

/// A record at the sample time with the message `text`.
std::wstring RecordOf(const std::wstring& text, const RecordFormatter& formatter = {false, true},
                      const RecordInfo& info = SampleInfo()) {
    const test::FixedClock clock(SampleTime);
    std::wstring out;
    FormatInto(out, formatter, info, L"%s", text.c_str());
    return out;
}

const std::wstring SampleHead = L"[20201116-163012-345][T][quillon] ";

/// A text with a different character at each position, so that lost, doubled or moved characters
/// show.
std::wstring Pattern(std::size_t length) {
    std::wstring text(length, L'\0');
    for (std::size_t index = 0; index < length; ++index) {
        text[index] = static_cast<wchar_t>(0x4E00 + (index * 7) % 20011);
    }
    return text;
}

TEST(RecordFormatter, UsualRecord_IsHeadBlankMessageLineFeed) {
    EXPECT_EQ(RecordOf(L"Parameter 0 = service"),
              L"[20201116-163012-345][T][quillon] Parameter 0 = service\n");
}

struct HeadCase {
    const char* name;
    SYSTEMTIME time;
    const wchar_t* head;
};

void PrintTo(const HeadCase& row, std::ostream* out) {
    *out << row.name;
}

class RecordFormatterTime : public TestWithParam<HeadCase> {};

TEST_P(RecordFormatterTime, EachField_HasItsDigitsWithLeadingZeros) {
    const test::FixedClock clock(GetParam().time);
    std::wstring out;
    FormatInto(out, {false, true}, SampleInfo(), L"x");
    EXPECT_EQ(out, std::wstring(GetParam().head) + L"[T][quillon] x\n");
}

const HeadCase HeadCases[] = {
    {"leading zeros", test::Moment(2021, 1, 2, 3, 4, 5, 6), L"[20210102-030405-006]"},
    {"most", test::Moment(2019, 12, 31, 23, 59, 59, 999), L"[20191231-235959-999]"},
    {"leap day", test::Moment(2024, 2, 29, 0, 0, 0, 0), L"[20240229-000000-000]"},
    {"two digits", test::Moment(2024, 10, 9, 8, 7, 6, 50), L"[20241009-080706-050]"},
    {"first year of the clock", test::Moment(1601, 1, 1, 10, 20, 30, 400),
     L"[16010101-102030-400]"},
    {"year of three digits", test::Moment(812, 6, 7, 1, 1, 1, 1), L"[08120607-010101-001]"},
};

INSTANTIATE_TEST_SUITE_P(Moments, RecordFormatterTime, ValuesIn(HeadCases));

TEST(RecordFormatter, Time_IsTheSystemClockInUtcAtTheCall) {
    SYSTEMTIME before = {};
    SYSTEMTIME after = {};
    std::wstring out;
    ::GetSystemTime(&before);
    FormatInto(out, {false, true}, SampleInfo(), L"x");
    ::GetSystemTime(&after);
    const auto head = [](const SYSTEMTIME& time) {
        const test::FixedClock clock(time);
        std::wstring text;
        FormatInto(text, {false, true}, SampleInfo(), L"x");
        return text;
    };
    // Records of the same length sort by their time in this form.
    EXPECT_LE(head(before), out);
    EXPECT_LE(out, head(after));
}

TEST(RecordFormatter, TagAndComponent_AreTakenAsTheyStand) {
    RecordInfo info = SampleInfo();
    info.Tag = L"%d";
    info.Component = L"Приёмник %s 收件箱";
    EXPECT_EQ(RecordOf(L"x", {false, true}, info),
              L"[20201116-163012-345][%d][Приёмник %s 收件箱] x\n");
    info.Tag = L"";
    info.Component = L"";
    EXPECT_EQ(RecordOf(L"x", {false, true}, info), L"[20201116-163012-345][][] x\n");
}

TEST(RecordFormatter, Output_IsReplaced) {
    const test::FixedClock clock(SampleTime);
    std::wstring out = L"what stood here before\n";
    FormatInto(out, {false, true}, SampleInfo(), L"%s = %u", L"seven", 7U);
    EXPECT_EQ(out, SampleHead + L"seven = 7\n");
}

TEST(RecordFormatter, SourceLocation_StandsBetweenHeadAndMessageAsTheCallerPassedIt) {
    EXPECT_EQ(RecordOf(L"text", {true, false}),
              L"[20201116-163012-345][T][quillon] [C:\\src\\main(line 42): wmain] text\n");
}

TEST(RecordFormatter, LineNumber_IsUnsigned) {
    RecordInfo info = SampleInfo();
    info.Line = 4294967295U;
    EXPECT_EQ(RecordOf(L"text", {true, true}, info),
              SampleHead + L"[C:\\src\\main(line 4294967295): wmain] text\n");
}

TEST(RecordFormatter, RecordFlag_IsNotRead) {
    EXPECT_EQ(RecordOf(L"text", {false, true}), RecordOf(L"text", {false, false}));
    EXPECT_EQ(RecordOf(L"text", {true, true}), RecordOf(L"text", {true, false}));
    EXPECT_NE(RecordOf(L"text", {true, false}), RecordOf(L"text", {false, true}));
}

struct LineFeedCase {
    const char* name;
    const wchar_t* message;
    const wchar_t* written;
};

void PrintTo(const LineFeedCase& row, std::ostream* out) {
    *out << row.name;
}

class RecordFormatterLineFeed : public TestWithParam<LineFeedCase> {};

TEST_P(RecordFormatterLineFeed, LineFeed_IsAddedOnlyBehindAnotherCharacter) {
    EXPECT_EQ(RecordOf(GetParam().message), SampleHead + GetParam().written);
}

const LineFeedCase LineFeedCases[] = {
    {"empty", L"", L"\n"},
    {"plain", L"a", L"a\n"},
    {"line feed", L"a\n", L"a\n"},
    {"two line feeds", L"a\n\n", L"a\n\n"},
    {"line feed alone", L"\n", L"\n"},
    {"carriage return", L"a\r", L"a\r\n"},
    {"carriage return and line feed", L"a\r\n", L"a\r\n"},
    {"carriage return inside", L"a\rb", L"a\rb\n"},
    {"line feeds inside", L"a\nb\n\nc", L"a\nb\n\nc\n"},
    {"blank", L"a ", L"a \n"},
};

INSTANTIATE_TEST_SUITE_P(Endings, RecordFormatterLineFeed, ValuesIn(LineFeedCases));

/// Both sides of every buffer size, only the lower side of the last one.
class RecordFormatterLength : public TestWithParam<std::size_t> {};

TEST_P(RecordFormatterLength, Message_PassesWhole) {
    const std::wstring message = Pattern(GetParam());
    EXPECT_EQ(RecordOf(message), SampleHead + message + L'\n');
    std::wstring text = L"before|";
    FormatTextInto(text, L"%s", message.c_str());
    EXPECT_EQ(text, L"before|" + message + L'\n');
}

INSTANTIATE_TEST_SUITE_P(Sizes, RecordFormatterLength,
                         ::testing::Values(1022U, 1023U, 1024U, 1025U, 2047U, 2048U, 2049U, 4095U,
                                           4096U, 4097U, 8191U, 8192U, 8193U, 16382U, 16383U));

class RecordFormatterCut : public TestWithParam<std::size_t> {};

TEST_P(RecordFormatterCut, Message_IsCutAt16383CharactersAndGetsLineFeed) {
    const std::wstring message = Pattern(GetParam());
    const std::wstring written = message.substr(0, LongestMessage) + L'\n';
    EXPECT_EQ(RecordOf(message), SampleHead + written);
    std::wstring text = L"before|";
    FormatTextInto(text, L"%s", message.c_str());
    EXPECT_EQ(text, L"before|" + written);
}

INSTANTIATE_TEST_SUITE_P(Sizes, RecordFormatterCut,
                         ::testing::Values(16384U, 16385U, 32767U, 32768U, 40000U));

TEST(RecordFormatter, MessageOf16384CharactersEndingInLineFeed_LosesNothingThatShows) {
    const std::wstring message = Pattern(LongestMessage) + L'\n';
    EXPECT_EQ(RecordOf(message), SampleHead + message);
}

TEST(RecordFormatter, CutRightBehindALineFeed_AddsNone) {
    const std::wstring kept = Pattern(LongestMessage - 1) + L'\n';
    EXPECT_EQ(RecordOf(kept + L"lost"), SampleHead + kept);
}

TEST(RecordFormatter, LimitOfTheMessage_DoesNotCountTheHead) {
    RecordInfo info = SampleInfo();
    const std::wstring component(900, L'c');
    info.Component = component.c_str();
    const std::wstring message = Pattern(LongestMessage);
    EXPECT_EQ(RecordOf(message, {true, true}, info), L"[20201116-163012-345][T][" + component +
                                                         L"] [C:\\src\\main(line 42): wmain] " +
                                                         message + L'\n');
}

TEST(RecordFormatter, LongMessage_IsPrintedWithItsArgumentsOnEveryAttempt) {
    const test::FixedClock clock(SampleTime);
    const std::wstring longText = Pattern(10000);
    std::wstring out;
    FormatInto(out, {false, true}, SampleInfo(), L"%u %s %lu %s %i", 1U, longText.c_str(), 2UL,
               L"three", -4);
    EXPECT_EQ(out, SampleHead + L"1 " + longText + L" 2 three -4\n");
}

TEST(RecordFormatter, MessageThatPrintsAZero_EndsBeforeIt) {
    const test::FixedClock clock(SampleTime);
    std::wstring out;
    FormatInto(out, {false, true}, SampleInfo(), L"ab%cde", 0);
    EXPECT_EQ(out, SampleHead + L"ab\n");
    std::wstring text;
    FormatTextInto(text, L"ab%cde", 0);
    EXPECT_EQ(text, L"ab\n");
}

TEST(FormatText, TextAlone_IsAppendedWithItsLineFeed) {
    std::wstring out = L"first\n";
    FormatTextInto(out, L"second %s", L"text");
    FormatTextInto(out, L"third\n");
    FormatTextInto(out, L"%s", L"");
    // The empty third text ends an output that already ends in a line feed.
    EXPECT_EQ(out, L"first\nsecond text\nthird\n");
}

TEST(EnsureNewline, Text_EndsInOneLineFeedMoreOnlyIfItEndsInNone) {
    const auto ensured = [](std::wstring text) {
        EnsureNewline(text);
        return text;
    };
    EXPECT_EQ(ensured(L""), L"\n");
    EXPECT_EQ(ensured(L"a"), L"a\n");
    EXPECT_EQ(ensured(L"a\n"), L"a\n");
    EXPECT_EQ(ensured(L"a\n\n"), L"a\n\n");
    EXPECT_EQ(ensured(L"a\r"), L"a\r\n");
    EXPECT_EQ(ensured(L"\nа"), L"\nа\n");
}

// A head or a source location that doesn't fit ends the process, so it is tested in a child
// process.

const test::ChildRoutine formatHead(L"format-head", [](const std::vector<std::wstring>& arguments) {
    std::atexit([] { std::puts("exit handler"); });
    const std::wstring component(std::stoul(arguments.at(0)), L'c');
    RecordInfo info = SampleInfo();
    info.Tag = L"";
    info.Component = component.c_str();
    const bool whole =
        RecordOf(L"x", {false, true}, info) == L"[20201116-163012-345][][" + component + L"] x\n";
    return whole ? 0 : 1;
});

const test::ChildRoutine formatLocation(L"format-location",
                                        [](const std::vector<std::wstring>& arguments) {
                                            std::atexit([] { std::puts("exit handler"); });
                                            const std::wstring file(std::stoul(arguments.at(0)),
                                                                    L'f');
                                            RecordInfo info = SampleInfo();
                                            info.File = file.c_str();
                                            const bool whole =
                                                RecordOf(L"x", {true, true}, info) ==
                                                SampleHead + L"[" + file + L"(line 42): wmain] x\n";
                                            return whole ? 0 : 1;
                                        });

void ExpectOrderlyEnd(const wchar_t* routine, std::size_t length) {
    test::Child child(test::SelfCommandLine(routine, {std::to_wstring(length)}));
    EXPECT_EQ(child.Wait(), 0U);
    EXPECT_THAT(child.Output(), ::testing::StartsWith("exit handler"));
}

void ExpectFailFast(const wchar_t* routine, std::size_t length) {
    test::Child child(test::SelfCommandLine(routine, {std::to_wstring(length)}));
    EXPECT_EQ(child.Wait(), InvalidParameterExit);
    EXPECT_EQ(child.Output(), "");
}

TEST(RecordFormatter, HeadOf1023Characters_Fits) {
    ExpectOrderlyEnd(L"format-head", 1023 - EmptyHead);
}

TEST(RecordFormatter, HeadOf1024Characters_EndsTheProcessWithInvalidParameter) {
    ExpectFailFast(L"format-head", 1024 - EmptyHead);
}

TEST(RecordFormatter, SourceLocationOf1023Characters_Fits) {
    ExpectOrderlyEnd(L"format-location", 1023 - EmptyLocation);
}

TEST(RecordFormatter, SourceLocationOf1024Characters_EndsTheProcessWithInvalidParameter) {
    ExpectFailFast(L"format-location", 1024 - EmptyLocation);
}

}  // namespace
}  // namespace framework
