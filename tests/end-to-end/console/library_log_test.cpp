// The library's lines through the log sink into the file.

#include <gmock/gmock.h>

#include <algorithm>
#include <ostream>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"
#include "tests/end-to-end/support/row_name.h"

namespace {

using test::Records;

struct Row {
    const char* name;
    std::string line;  ///< arguments of the script's `log`
    Records records;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class LibraryLine : public testing::TestWithParam<Row> {};

TEST_P(LibraryLine, ArrivesInTheFile) {
    const test::HostFolder host;
    host.Script("on bootstrap log " + GetParam().line + "\n");
    const auto process = host.Start(L"-zevrunzip");
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_EQ(host.OnlyLog(), test::WholeLog(process->ProcessId(), host.Executable(),
                                             {L"-zevrunzip"}, GetParam().records));
}

INSTANTIATE_TEST_SUITE_P(Levels, LibraryLine,
                         testing::Values(Row{"Zero", "0 part text", {L"[T][part] text"}},
                                         Row{"One", "1 part text", {L"[W][part] text"}},
                                         Row{"Two", "2 part text", {L"[E][part] text"}},
                                         Row{"ThreeIsVerboseAndDropped", "3 part text", {}},
                                         Row{"SevenIsVerboseAndDropped", "7 part text", {}},
                                         Row{"MinusOneIsVerboseAndDropped", "-1 part text", {}}),
                         test::RowName<Row>);

INSTANTIATE_TEST_SUITE_P(
    Texts, LibraryLine,
    testing::Values(
        Row{"NullTextIsNothing", "trace part null", {}},
        Row{"EmptyTextIsALine", "trace part \"\"", {L"[T][part] "}},
        Row{"NullComponentIsTheHostsOwn", "trace null text", {L"[T][quillon] text"}},
        Row{"EmptyComponentStaysEmpty", "trace \"\" text", {L"[T][] text"}},
        Row{"ForeignLetters",
            "trace \"\xD0\x96\xE4\xBE\x8B\" \"\xC3\xBC\xE4\xBE\x8B\"",
            {L"[T][\x0416\x4F8B] \x00FC\x4F8B"}},
        Row{"PercentSignsAreNoConversions",
            "trace part \"%s %n %d %% 100%\"",
            {L"[T][part] %s %n %d %% 100%"}},
        Row{"LineFeedAtTheEndIsNotDoubled", "trace part \"text\\n\"", {L"[T][part] text"}},
        Row{"TwoLineFeedsStayTwo", "trace part \"text\\n\\n\"", {L"[T][part] text\n"}},
        Row{"CarriageReturnGetsALineFeed", "trace part \"text\\r\"", {L"[T][part] text\r"}},
        Row{"LineFeedInsideStays", "trace part \"one\\ntwo\"", {L"[T][part] one\ntwo"}},
        Row{"LongestText",
            "trace part repeat:x:16383",
            {L"[T][part] " + std::wstring(16383, L'x')}},
        Row{"OneMoreIsCut",
            "trace part repeat:x:16384",
            {L"[T][part] " + std::wstring(16383, L'x')}},
        Row{"FortyThousandAreCut",
            "trace part repeat:x:40000",
            {L"[T][part] " + std::wstring(16383, L'x')}}),
    test::RowName<Row>);

TEST(LibraryLines, FromManyThreadsAtOnce_AllArriveWhole) {
    const test::HostFolder host;
    // The call returns only after its threads, because their lines don't wait for anything.
    host.Script("on bootstrap threads 16 repeat 50 log warning part repeat:y:200\n");
    EXPECT_EQ(host.Start(L"-zevrunzip")->Wait(), 0U);
    const Records log = host.OnlyLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), L"[W][part] " + std::wstring(200, L'y')), 16 * 50);
}

}  // namespace
