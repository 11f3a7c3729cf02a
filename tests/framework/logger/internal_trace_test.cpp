#include "framework/logger/internal_trace.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "framework/logger/logger.h"
#include "tests/support/debugger_channel.h"
#include "tests/support/log_capture.h"

namespace framework {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::TestWithParam;
using ::testing::ValuesIn;

constexpr std::uint32_t DefaultMask = 7;
constexpr std::size_t LongestMessage = 16383;
/// "[20201116-163012-345]"
constexpr std::size_t TimeLength = 21;

LoggerConfig WithMask(std::uint32_t mask) {
    LoggerConfig config = test::QuietConfig();
    config.TraceLevelsMask = mask;
    return config;
}

// Levels

struct LevelCase {
    std::uint32_t level;
    const wchar_t* tag;
    bool passesByDefault;
};

void PrintTo(const LevelCase& row, std::ostream* out) {
    *out << "level " << row.level;
}

class InternalTraceLevel : public TestWithParam<LevelCase> {
  protected:
    [[nodiscard]] static std::vector<std::wstring> LinesUnder(std::uint32_t mask) {
        const test::LogCapture capture(WithMask(mask));
        InternalTrace(GetParam().level, L"text");
        return capture.Lines();
    }

    [[nodiscard]] static std::wstring Line() {
        return std::wstring(L"[") + GetParam().tag + L"][quillon] text";
    }
};

TEST_P(InternalTraceLevel, Tag_GoesWithTheLevelAndEveryUnknownLevelIsVerbose) {
    EXPECT_THAT(LinesUnder(15), ElementsAre(Line()));
}

TEST_P(InternalTraceLevel, DefaultMask_HoldsBackAllThatIsVerbose) {
    if (GetParam().passesByDefault) {
        EXPECT_THAT(LinesUnder(DefaultMask), ElementsAre(Line()));
    } else {
        EXPECT_THAT(LinesUnder(DefaultMask), IsEmpty());
        EXPECT_THAT(LinesUnder(8), ElementsAre(Line())) << "the bit must be 8";
    }
}

const LevelCase LevelCases[] = {
    {1, L"E", true},   {2, L"W", true},           {4, L"T", true},  {8, L"V", false},
    {0, L"V", false},  {3, L"V", false},          {5, L"V", false}, {7, L"V", false},
    {16, L"V", false}, {0xFFFFFFFF, L"V", false},
};

INSTANTIATE_TEST_SUITE_P(Levels, InternalTraceLevel, ValuesIn(LevelCases));

// The text

TEST(InternalTrace, Text_IsOneRecordWithOneLineFeed) {
    const test::LogCapture capture;
    InternalTrace(4, L"no line feed");
    InternalTrace(4, L"one\n");
    InternalTrace(4, L"two\n\n");
    InternalTrace(4, L"inside\nthe text");
    InternalTrace(4, L"");
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[T][quillon] no line feed", L"[T][quillon] one",
                                             L"[T][quillon] two\n",
                                             L"[T][quillon] inside\nthe text", L"[T][quillon] "));
}

TEST(InternalTrace, Arguments_ArePrintedAsTheFormatTells) {
    const test::LogCapture capture;
    InternalTrace(1, L"%s failed with error %lu, %i, %u, %04hu", L"Приём 收", 4294967295UL, -7, 8U,
                  static_cast<unsigned short>(9));
    EXPECT_THAT(capture.Lines(),
                ElementsAre(L"[E][quillon] Приём 收 failed with error 4294967295, -7, 8, 0009"));
}

TEST(InternalTrace, SourceLocation_IsThatOfTheForwarder) {
    LoggerConfig config = test::QuietConfig();
    config.RecordSourceLocation = true;
    const test::LogCapture capture(config);
    InternalTrace(4, L"text");
    ASSERT_EQ(capture.Lines().size(), 1U);
    const std::wstring line = capture.Lines().front();
    EXPECT_THAT(std::filesystem::path(line).string(),
                MatchesRegex("\\[T\\]\\[quillon\\] \\[framework/logger/internal_trace\\(line "
                             "\\d+\\): FrameworkExternalLogCallbackDefault\\] text"));
}

TEST(InternalTrace, TextOf16383Characters_PassesBothFormattingsWhole) {
    const test::LogCapture capture;
    const std::wstring text = std::wstring(LongestMessage - 1, L'a') + L'z';
    InternalTrace(4, L"%s", text.c_str());
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[T][quillon] " + text));
}

TEST(InternalTrace, TextOf16384Characters_LosesItsLast) {
    const test::LogCapture capture;
    const std::wstring kept = std::wstring(LongestMessage - 1, L'a') + L'z';
    InternalTrace(4, L"%s", (kept + L'!').c_str());
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[T][quillon] " + kept));
}

TEST(InternalTrace, TwoThreads_WriteWholeRecords) {
    const test::LogCapture capture;
    constexpr int Rounds = 300;
    const auto write = [](const wchar_t* name) {
        for (int round = 0; round < Rounds; ++round) {
            InternalTrace(4, L"%s %i", name, round);
        }
    };
    std::thread first(write, L"first");
    std::thread second(write, L"second");
    first.join();
    second.join();
    std::vector<std::wstring> expectedFirst;
    std::vector<std::wstring> expectedSecond;
    for (int round = 0; round < Rounds; ++round) {
        expectedFirst.push_back(L"[T][quillon] first " + std::to_wstring(round));
        expectedSecond.push_back(L"[T][quillon] second " + std::to_wstring(round));
    }
    const std::vector<std::wstring> lines = capture.Lines();
    std::vector<std::wstring> ofFirst;
    std::vector<std::wstring> ofSecond;
    std::partition_copy(
        lines.begin(), lines.end(), std::back_inserter(ofFirst), std::back_inserter(ofSecond),
        [](const std::wstring& line) { return line.find(L"first") != std::wstring::npos; });
    EXPECT_EQ(ofFirst, expectedFirst);
    EXPECT_EQ(ofSecond, expectedSecond);
}

// The forwarders

TEST(FrameworkExternalLogCallback, FinishedText_IsLoggedAndTrueReturned) {
    const test::LogCapture capture;
    EXPECT_TRUE(FrameworkExternalLogCallback(2, L"first\n"));
    EXPECT_TRUE(FrameworkExternalLogCallbackDefault(1, L"second"));
    EXPECT_TRUE(FrameworkExternalLogCallback(9, L"third\n"));
    EXPECT_THAT(capture.Lines(),
                ElementsAre(L"[W][quillon] first", L"[E][quillon] second", L"[V][quillon] third"));
}

TEST(FrameworkExternalLogCallback, DroppedText_ReturnsTrueToo) {
    const test::LogCapture capture(WithMask(0));
    EXPECT_TRUE(FrameworkExternalLogCallback(1, L"first\n"));
    EXPECT_TRUE(FrameworkExternalLogCallbackDefault(1, L"second\n"));
    EXPECT_THAT(capture.Lines(), IsEmpty());
}

// Formatting even if nothing is written

/// A text on its own page that detects reads: the first access removes the guard from the page.
class GuardedText {
  public:
    GuardedText() {
        text_ = static_cast<wchar_t*>(
            ::VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD before = 0;
        ::VirtualProtect(text_, 4096, PAGE_READWRITE | PAGE_GUARD, &before);
        handler_ = ::AddVectoredExceptionHandler(1, GoOn);
    }
    ~GuardedText() {
        ::RemoveVectoredExceptionHandler(handler_);
        ::VirtualFree(text_, 0, MEM_RELEASE);
    }
    GuardedText(const GuardedText&) = delete;
    GuardedText& operator=(const GuardedText&) = delete;

    [[nodiscard]] const wchar_t* Get() const { return text_; }

    [[nodiscard]] bool WasRead() const {
        MEMORY_BASIC_INFORMATION page = {};
        ::VirtualQuery(text_, &page, sizeof(page));
        return (page.Protect & PAGE_GUARD) == 0;
    }

  private:
    static LONG WINAPI GoOn(EXCEPTION_POINTERS* exception) {
        const bool guard = exception->ExceptionRecord->ExceptionCode == STATUS_GUARD_PAGE_VIOLATION;
        return guard ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
    }

    wchar_t* text_ = nullptr;
    void* handler_ = nullptr;
};

TEST(InternalTrace, DroppedText_IsFormattedAllTheSame) {
    const test::LogCapture capture(WithMask(0));
    const GuardedText text;
    ASSERT_FALSE(text.WasRead());
    InternalTrace(4, L"%s", text.Get());
    EXPECT_TRUE(text.WasRead());
    EXPECT_THAT(capture.Lines(), IsEmpty());
}

TEST(LoggerLog, DroppedLine_IsNotFormatted) {
    const test::LogCapture capture(WithMask(DefaultMask));
    const GuardedText text;
    EXPECT_TRUE(
        Logger::Instance().Log(8, L"V", nullptr, L"file", 1, L"function", L"%s", text.Get()));
    EXPECT_FALSE(text.WasRead());
    Logger::Instance().Log(4, L"T", nullptr, L"file", 1, L"function", L"%s", text.Get());
    EXPECT_TRUE(text.WasRead());
}

// Percent signs that the first formatting leaves

struct PercentCase {
    const char* name;
    const wchar_t* text;
    const wchar_t* written;
};

void PrintTo(const PercentCase& row, std::ostream* out) {
    *out << row.name;
}

class PercentSign : public TestWithParam<PercentCase> {
  protected:
    void ExpectLine(const test::LogCapture& capture) {
        EXPECT_THAT(capture.Lines(),
                    ElementsAre(std::wstring(L"[T][quillon] ") + GetParam().written));
    }
};

TEST_P(PercentSign, InAnArgument_IsReadAsFormatOnce) {
    const test::LogCapture capture;
    InternalTrace(4, L"%s", GetParam().text);
    ExpectLine(capture);
}

TEST_P(PercentSign, InAFinishedText_IsReadAsFormatOnce) {
    const test::LogCapture capture;
    FrameworkExternalLogCallback(4, GetParam().text);
    ExpectLine(capture);
}

TEST_P(PercentSign, InAFormatWithoutArguments_IsReadAsFormatOnce) {
    const test::LogCapture capture;
    EXPECT_TRUE(Logger::Instance().Log(4, L"T", nullptr, L"file", 1, L"function",
                                       RuntimeText{GetParam().text}));
    ExpectLine(capture);
}

TEST_P(PercentSign, InAnArgumentOfTheLogCall_StaysAsItIs) {
    const test::LogCapture capture;
    Logger::Instance().Log(4, L"T", nullptr, L"file", 1, L"function", L"%s", GetParam().text);
    EXPECT_THAT(capture.Lines(), ElementsAre(std::wstring(L"[T][quillon] ") + GetParam().text));
}

const PercentCase PercentCases[] = {
    // A doubled one becomes a single one.
    {"doubled in a path", L"C:\\a%%b\\x.exe", L"C:\\a%b\\x.exe"},
    {"doubled alone", L"%%", L"%"},
    {"doubled twice", L"%%%%", L"%%"},
    {"doubled before a blank", L"100%% sure", L"100% sure"},
    {"doubled before letters", L"%%d and %%n", L"%d and %n"},
    // A conversion has no argument and stays unchanged.
    {"text conversion", L"a%sb", L"a%sb"},
    {"number conversions", L"%d %i %u %x %X %o %c %p", L"%d %i %u %x %X %o %c %p"},
    {"lengths", L"%ls %ws %hs %S %C %Z %hu %lu %llu %I64d",
     L"%ls %ws %hs %S %C %Z %hu %lu %llu %I64d"},
    {"floating point", L"%f %e %g %a %.2f %-5.3lf", L"%f %e %g %a %.2f %-5.3lf"},
    {"count output", L"%n", L"%n"},
    {"count outputs with lengths", L"%hn%ln%lln", L"%hn%ln%lln"},
    {"widths and precisions from arguments", L"%*d|%.*s|%-*.*f", L"%*d|%.*s|%-*.*f"},
    {"huge widths", L"%2147483647d|%999999999999s", L"%2147483647d|%999999999999s"},
    {"huge precision", L"%.999999999s", L"%.999999999s"},
    {"doubled before a conversion", L"%%%s", L"%%s"},
    {"doubled between conversions", L"x%d%%%dy", L"x%d%%dy"},
    // A percent sign without a conversion is dropped.
    {"before a foreign character", L"%!", L"!"},
    {"before a foreign letter", L"%k%d", L"k%d"},
    {"before a backslash", L"%\\dir", L"\\dir"},
    {"before a character outside the code page", L"%漢", L"漢"},
    {"flags and no conversion", L"%-%s", L"-%s"},
    {"position", L"%1$s", L"1$s"},
    // At the end there is nothing after it to read.
    {"single at the end", L"ends in %", L"ends in "},
    {"doubled at the end", L"ends in %%", L"ends in %"},
    {"tripled at the end", L"ends in %%%", L"ends in %"},
    {"flags at the end", L"ends in %-5.", L"ends in -5."},
    {"length at the end", L"ends in %ll", L"ends in ll"},
    {"single alone", L"%", L""},
};

INSTANTIATE_TEST_SUITE_P(Texts, PercentSign, ValuesIn(PercentCases));

TEST(InternalTrace, LonePercentSignBeforeTheLineFeed_KeepsTheLineFeed) {
    const test::LogCapture capture;
    InternalTrace(4, L"'%s'\n", L"C:\\100%");
    InternalTrace(4, L"next");
    InternalTrace(4, L"%s\n", L"100%");
    InternalTrace(4, L"last");
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[T][quillon] 'C:\\100'", L"[T][quillon] next",
                                             L"[T][quillon] 100", L"[T][quillon] last"));
}

TEST(InternalTrace, ManyPercentSigns_AreHalvedWithinTheLimit) {
    const test::LogCapture capture;
    const std::wstring signs(16382, L'%');
    InternalTrace(4, L"%s", signs.c_str());
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[T][quillon] " + std::wstring(8191, L'%')));
}

TEST(InternalTrace, LongTextFullOfConversions_IsCutAtTheLimit) {
    const test::LogCapture capture;
    std::wstring text;
    while (text.size() < 40000) {
        text += L"%s%n%*d";
    }
    FrameworkExternalLogCallback(4, text.c_str());
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[T][quillon] " + text.substr(0, LongestMessage)));
}

// Random texts

/// Makes texts of the characters of conversions; each third one is a percent sign.
class PercentTexts {
  public:
    explicit PercentTexts(std::uint32_t seed) : random_(seed) {}

    std::wstring Next() {
        static const std::wstring characters =
            L"diouxXeEfFgGaAcCsSpnZhlLwIjztq*.0123456789-+ #'$\\:!\r\tжй漢";
        std::wstring text(Below(60), L'\0');
        for (wchar_t& character : text) {
            character = Below(3) == 0 ? L'%' : characters[Below(characters.size())];
        }
        return text;
    }

  private:
    std::size_t Below(std::size_t limit) { return random_() % limit; }

    std::mt19937 random_;
};

std::wstring WithoutPercentSigns(std::wstring text) {
    text.erase(std::remove(text.begin(), text.end(), L'%'), text.end());
    return text;
}

std::ptrdiff_t PercentSigns(const std::wstring& text) {
    return std::count(text.begin(), text.end(), L'%');
}

/// A conversion that reads an argument would add, change or drop characters. So only percent signs
/// may differ, and none may be added.
bool IsTrueTo(const std::wstring& text, const std::wstring& record) {
    const std::wstring head = L"[T][quillon] ";
    if (record.size() <= TimeLength || record.compare(TimeLength, head.size(), head) != 0) {
        return false;
    }
    const std::wstring message = record.substr(TimeLength + head.size());
    return WithoutPercentSigns(message) == WithoutPercentSigns(text) + L'\n' &&
           PercentSigns(message) <= PercentSigns(text);
}

class PercentFuzz : public ::testing::Test {
  protected:
    static constexpr int Rounds = 100000;
    static constexpr std::uint32_t Seed = 20201116;

    template <class Write>
    void Run(Write write) {
        std::cout << "seed " << Seed << ", " << Rounds << " texts\n";
        LoggerConfig config = test::QuietConfig();
        config.LogToDebugger = true;
        Logger::Instance().Configure(config);
        test::DebuggerChannel debugger;
        PercentTexts texts(Seed);
        for (int round = 0; round < Rounds; ++round) {
            const std::wstring text = texts.Next();
            write(text.c_str());
            const std::vector<std::wstring> records = debugger.Take();
            ASSERT_EQ(records.size(), 1U) << "round " << round;
            ASSERT_TRUE(IsTrueTo(text, records.front()))
                << "round " << round << ": " << ::testing::PrintToString(text) << " gave "
                << ::testing::PrintToString(records.front());
        }
    }

  private:
    test::FreshLogger logger_;
};

TEST_F(PercentFuzz, InternalTrace_ReadsNothingAndEndsEachRecord) {
    Run([](const wchar_t* text) { InternalTrace(4, L"%s", text); });
}

TEST_F(PercentFuzz, LogCallWithoutArguments_ReadsNothingAndEndsEachRecord) {
    Run([](const wchar_t* text) {
        Logger::Instance().Log(4, L"T", nullptr, L"file", 1, L"function", RuntimeText{text});
    });
}

}  // namespace
}  // namespace framework
