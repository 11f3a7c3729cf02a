#include "framework/system/wide_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <ostream>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/framework/system/guarded_block.h"
#include "tests/support/child_process.h"

namespace framework {
namespace {

constexpr std::uint32_t FailFastCode = 0xC0000409;
constexpr std::uint32_t AccessViolationCode = 0xC0000005;

std::wstring Print(const wchar_t* format, ...) {
    std::va_list args;
    va_start(args, format);
    std::wstring text = PrintToString(format, args);
    va_end(args);
    return text;
}

int PrintInto(wchar_t* buffer, std::size_t size, const wchar_t* format, ...) {
    std::va_list args;
    va_start(args, format);
    const int length = PrintCut(buffer, size, format, args);
    va_end(args);
    return length;
}

/// An argument list whose first argument is already in inaccessible memory.
std::va_list UnreadableArguments(const test::GuardedBlock& block) {
    // An argument list is a plain pointer on this platform.
    return static_cast<std::va_list>(block.End());
}

// ---- What fits a conversion --------------------------------------------------------------------
//
// That a misfit stops the compilation is shown by the cases in format_check_cases.cpp.

using format_check::Matches;

static_assert(Matches<const wchar_t*>(0, L's') && Matches<wchar_t*>(0, L's'));
static_assert(Matches<const wchar_t*>(L'w', L's') && Matches<const wchar_t*>(L'l', L's'));
static_assert(!Matches<const wchar_t*>(L'h', L's'));
static_assert(!Matches<const char*>(0, L's') && !Matches<char*>(L'h', L's'));
static_assert(!Matches<std::wstring>(0, L's') && !Matches<std::uint32_t>(0, L's'));

static_assert(Matches<int>(0, L'i') && Matches<int>(0, L'd') && Matches<unsigned>(0, L'u'));
static_assert(Matches<unsigned>(0, L'x') && Matches<unsigned>(0, L'X'));
static_assert(Matches<std::uint32_t>(L'l', L'u') && Matches<unsigned long>(L'l', L'u'));
static_assert(Matches<std::uint16_t>(L'h', L'u') && !Matches<std::uint32_t>(L'h', L'u'));
static_assert(!Matches<std::uint16_t>(0, L'u') && !Matches<std::uint16_t>(L'l', L'u'));
static_assert(!Matches<std::uint64_t>(0, L'u') && !Matches<std::uint64_t>(L'l', L'u'));
static_assert(!Matches<unsigned>(L'w', L'u') && !Matches<bool>(0, L'u'));
static_assert(!Matches<float>(0, L'd') && !Matches<const wchar_t*>(0, L'u'));

static_assert(Matches<void*>(0, L'p') && Matches<const void*>(0, L'p'));
static_assert(!Matches<std::uint64_t>(0, L'p') && !Matches<void*>(L'l', L'p'));

static_assert(!Matches<int*>(0, L'n') && !Matches<int>(0, L'*') && !Matches<int>(0, L'c'));
static_assert(!Matches<double>(0, L'f') && !Matches<int>(0, 0));

// A text that is known only at run time is not a format.
static_assert(!std::is_constructible_v<WideFormat<>, const wchar_t*>);
static_assert(!std::is_constructible_v<WideFormat<>, std::wstring>);

template <class... Args>
WideFormat<Args...> FormatOf(FormatFor<Args...> format, Args...) {
    return format;
}

TEST(WideFormat, Literal_KeepsItsTextAndTheLineOfTheCall) {
    const auto format = FormatOf(L"%s has %lu of 100%%", L"a", 5U);
    EXPECT_EQ(format.Line(), std::uint32_t{__LINE__ - 1});
    EXPECT_STREQ(format.Text(), L"%s has %lu of 100%%");
}

// ---- Printing ----------------------------------------------------------------------------------

TEST(PrintToString, EveryTextConversion_TakesAWideText) {
    EXPECT_EQ(Print(L"%s|%ws|%ls", L"\u0436", L"\u65E5", L"\U0001F4C4"),
              L"\u0436|\u65E5|\U0001F4C4");
}

TEST(PrintToString, Numbers_ArePrintedAsTheirConversionSays) {
    EXPECT_EQ(Print(L"%lu %lu %li %i %d", 4294967295U, 0U, -5, -2147483647 - 1, 7),
              L"4294967295 0 -5 -2147483648 7");
    EXPECT_EQ(Print(L"%04hu%02hu-%03hu", 2020, 1, 7), L"202001-007");
    EXPECT_EQ(Print(L"%x %X", 0xC0000409U, 0xC0000409U), L"c0000409 C0000409");
    EXPECT_EQ(Print(L"%p", reinterpret_cast<void*>(std::uintptr_t{0x12AB})), L"00000000000012AB");
}

TEST(PrintToString, NullText_IsPrintedAsAWord) {
    EXPECT_EQ(Print(L"[%s]", static_cast<const wchar_t*>(nullptr)), L"[(null)]");
}

class TextLength : public ::testing::TestWithParam<std::size_t> {};

TEST_P(TextLength, PrintToString_GivesItWhole) {
    // The second argument shows that the list is read again on every attempt.
    const std::wstring text(GetParam(), L'\u0436');
    EXPECT_EQ(Print(L"%s%s", text.c_str(), L"."), text + L'.');
}

TEST_P(TextLength, PrintCut_BufferOfLengthAndZero_HoldsIt) {
    const test::GuardedBlock block;
    const std::wstring text(GetParam(), L'\u0436');
    wchar_t* const buffer = block.Last(text.size() + 1);
    EXPECT_EQ(PrintInto(buffer, text.size() + 1, L"%s", text.c_str()),
              static_cast<int>(text.size()));
    EXPECT_EQ(std::wstring(buffer), text);
}

TEST_P(TextLength, PrintCut_BufferOfTheLengthAlone_CutsAndEndsIt) {
    const test::GuardedBlock block;
    const std::wstring text(GetParam(), L'\u0436');
    wchar_t* const buffer = block.Last(text.size());
    EXPECT_LT(PrintInto(buffer, text.size(), L"%s", text.c_str()), 0);
    EXPECT_EQ(std::wstring(buffer), text.substr(1));
}

INSTANTIATE_TEST_SUITE_P(Lengths, TextLength,
                         ::testing::Values(1U, 2U, 509U, 510U, 511U, 512U, 1022U, 1023U, 1024U,
                                           2000U));

TEST(PrintToString, EmptyAndVeryLongText_AreWhole) {
    EXPECT_EQ(Print(L"%s", L""), L"");
    const std::wstring text(1000000, L'x');
    EXPECT_EQ(Print(L"%s", text.c_str()), text);
}

TEST(PrintStrict, TextThatFitsExactly_IsPrinted) {
    wchar_t buffer[10] = {};
    EXPECT_EQ(PrintStrict(buffer, std::size(buffer), L"%s", L"123456789"), 9);
    EXPECT_STREQ(buffer, L"123456789");
}

int PrintStrictly(const std::vector<std::wstring>& arguments) {
    wchar_t buffer[10] = {};
    return PrintStrict(buffer, std::size(buffer), L"%s", arguments.at(0).c_str());
}

const test::ChildRoutine printStrictly(L"print-strictly", PrintStrictly);

TEST(PrintStrict, TextOneCharacterTooLong_EndsTheProcess) {
    EXPECT_EQ(test::Child(test::SelfCommandLine(L"print-strictly", {L"123456789"})).Wait(), 9U);
    EXPECT_EQ(test::Child(test::SelfCommandLine(L"print-strictly", {L"1234567890"})).Wait(),
              FailFastCode);
}

TEST(DecimalText, BothEnds) {
    EXPECT_EQ(DecimalText(0), L"0");
    EXPECT_EQ(DecimalText(2147483648U), L"2147483648");
    EXPECT_EQ(DecimalText(4294967295U), L"4294967295");
}

// ---- Texts as formats --------------------------------------------------------------------------

/// The result of printing a text as a format without arguments.
std::wstring PrintedWithoutConversions(const std::wstring& text) {
    const test::GuardedBlock source;
    const test::GuardedBlock arguments;
    return PrintToString(WithoutConversions(source.Place(text)).c_str(),
                         UnreadableArguments(arguments));
}

struct StrayCase {
    const wchar_t* text;
    const wchar_t* printed;
};

void PrintTo(const StrayCase& row, std::ostream* out) {
    *out << ::testing::PrintToString(row.text);
}

class StrayConversion : public ::testing::TestWithParam<StrayCase> {};

TEST_P(StrayConversion, IsPrintedAsTold) {
    const std::wstring text = GetParam().text;
    const std::wstring printed = GetParam().printed;
    EXPECT_EQ(PrintedWithoutConversions(text), printed);
    EXPECT_EQ(PrintedWithoutConversions(L"before " + text + L"\n"), L"before " + printed + L"\n");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, StrayConversion,
    ::testing::Values(
        StrayCase{L"", L""}, StrayCase{L"plain \u0436", L"plain \u0436"},
        // Doubled signs.
        StrayCase{L"%%", L"%"}, StrayCase{L"a%%b", L"a%b"}, StrayCase{L"%%%%", L"%%"},
        StrayCase{L"%%s", L"%s"}, StrayCase{L"%%%%n", L"%%n"},
        // Conversions that would read an argument.
        StrayCase{L"%s", L"%s"}, StrayCase{L"%ws %hs %ls %S", L"%ws %hs %ls %S"},
        StrayCase{L"%d%i%u%x%X%o", L"%d%i%u%x%X%o"}, StrayCase{L"%c%C%p%n", L"%c%C%p%n"},
        StrayCase{L"%e%E%f%g%G%a%A", L"%e%E%f%g%G%a%A"}, StrayCase{L"%04hu", L"%04hu"},
        StrayCase{L"%-8.3lf", L"%-8.3lf"}, StrayCase{L"%+d%#x% d", L"%+d%#x% d"},
        StrayCase{L"%I64u %I32d %zu", L"%I64u %I32d %zu"},
        StrayCase{L"%*d %.*s %*.*f", L"%*d %.*s %*.*f"}, StrayCase{L"%999999999d", L"%999999999d"},
        StrayCase{L"%.999999999s", L"%.999999999s"}, StrayCase{L"%%%d", L"%%d"},
        StrayCase{L"%d%%", L"%d%"},
        // Signs that begin nothing.
        StrayCase{L"%\u0436", L"\u0436"}, StrayCase{L"100%!", L"100!"}, StrayCase{L"%y", L"y"},
        StrayCase{L"%-%d", L"-%d"}, StrayCase{L"%5\\", L"5\\"}));

struct LoneEndCase {
    const wchar_t* text;
    const wchar_t* printed;
};

void PrintTo(const LoneEndCase& row, std::ostream* out) {
    *out << ::testing::PrintToString(row.text);
}

class LonePercentAtTheEnd : public ::testing::TestWithParam<LoneEndCase> {};

TEST_P(LonePercentAtTheEnd, IsLeftOutAndNothingBehindItIsRead) {
    EXPECT_EQ(PrintedWithoutConversions(GetParam().text), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Texts, LonePercentAtTheEnd,
                         ::testing::Values(LoneEndCase{L"%", L""}, LoneEndCase{L"100%", L"100"},
                                           LoneEndCase{L"100%%%", L"100%"},
                                           LoneEndCase{L"%5", L"5"}, LoneEndCase{L"%*", L"*"},
                                           LoneEndCase{L"%.", L"."}, LoneEndCase{L"%-l", L"-l"},
                                           LoneEndCase{L"%I64", L"I64"}));

std::wstring WithoutPercentSigns(std::wstring text) {
    std::erase(text, L'%');
    return text;
}

/// Texts of percent signs and characters of conversions, in equal parts.
class RandomTexts {
  public:
    explicit RandomTexts(unsigned seed) : generator_(seed) {}

    std::wstring Next() {
        static const std::wstring characters =
            L"%%%%%%%%%%%%%%%%%%%%sdnSpcCxXuiofgeEGaAZ*.-+ #0123456789hlwILzjtqyKk\n\\:{}\u0436"
            L"\u65E5\xD83D";
        std::wstring text(Number(60), L'\0');
        std::generate(text.begin(), text.end(),
                      [&] { return characters[Number(characters.size() - 1)]; });
        return Number(1) == 0 ? text : text + L'\n';
    }

  private:
    std::size_t Number(std::size_t highest) {
        return std::uniform_int_distribution<std::size_t>(0, highest)(generator_);
    }

    std::mt19937 generator_;
};

TEST(WithoutConversions, RandomTexts_ReadNothingOutsideAndLoseNothingButPercentSigns) {
    constexpr int Rounds = 200000;
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomTexts texts(seed);
    const test::GuardedBlock source;
    const test::GuardedBlock format;
    const test::GuardedBlock output;
    const test::GuardedBlock arguments;
    for (int round = 0; round < Rounds; ++round) {
        const std::wstring text = texts.Next();
        // The result is never longer than the text, so that a buffer of its size is enough.
        const std::size_t size = text.size() + 1;
        wchar_t* const buffer = output.Last(size);
        const wchar_t* const safe = format.Place(WithoutConversions(source.Place(text)));
        const int length = PrintCut(buffer, size, safe, UnreadableArguments(arguments));
        ASSERT_GE(length, 0) << "round " << round;
        ASSERT_EQ(WithoutPercentSigns(std::wstring(buffer, static_cast<std::size_t>(length))),
                  WithoutPercentSigns(text))
            << "round " << round;
    }
}

TEST(WithoutConversions, RandomTextsOfDoubledSigns_AreHalved) {
    constexpr int Rounds = 20000;
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomTexts texts(seed);
    for (int round = 0; round < Rounds; ++round) {
        const std::wstring text = texts.Next();
        std::wstring doubled;
        for (const wchar_t character : text) {
            doubled.append(character == L'%' ? 2U : 1U, character);
        }
        ASSERT_EQ(Print(WithoutConversions(doubled.c_str()).c_str()), text) << "round " << round;
    }
}

/// Prints with an argument list, a format or a buffer that ends too early.
int BreakGuard(const std::vector<std::wstring>& arguments) {
    // Ends the process with the exception code, without any installed debugger.
    ::SetUnhandledExceptionFilter(
        [](EXCEPTION_POINTERS*) -> LONG { return EXCEPTION_EXECUTE_HANDLER; });
    const test::GuardedBlock block;
    wchar_t buffer[100] = {};
    if (arguments.at(0) == L"argument") {
        return PrintCut(buffer, std::size(buffer), L"%s", UnreadableArguments(block));
    }
    if (arguments.at(0) == L"format") {
        wchar_t* const unended = block.Last(1);
        *unended = L'x';
        return PrintInto(buffer, std::size(buffer), unended);
    }
    return PrintInto(block.Last(3), 4, L"%s", L"abc");
}

const test::ChildRoutine breakGuard(L"break-guard", BreakGuard);

class GuardOfTheTests : public ::testing::TestWithParam<const wchar_t*> {};

TEST_P(GuardOfTheTests, EndsTheProcessWhenItIsTouched) {
    test::Child child(test::SelfCommandLine(L"break-guard", {GetParam()}));
    EXPECT_EQ(child.Wait(), AccessViolationCode);
}

INSTANTIATE_TEST_SUITE_P(Places, GuardOfTheTests,
                         ::testing::Values(L"argument", L"format", L"buffer"));

}  // namespace
}  // namespace framework
