#include "dev-controller/script_words.h"

#include <gtest/gtest.h>

namespace dev_controller {
namespace {

TEST(ParseNumber, ReadsDecimalAndHexadecimalUpToSixtyFourBits) {
    EXPECT_EQ(ParseNumber(L"0"), 0U);
    EXPECT_EQ(ParseNumber(L"4294967295"), 4294967295U);
    EXPECT_EQ(ParseNumber(L"0xC0000374"), 0xC0000374U);
    EXPECT_EQ(ParseNumber(L"0Xab"), 0xABU);
    EXPECT_EQ(ParseNumber(L"18446744073709551615"), ~std::uint64_t{0});
    EXPECT_EQ(ParseNumber(L"0xFFFFFFFFFFFFFFFF"), ~std::uint64_t{0});
}

TEST(ParseNumber, RefusesWhatIsNoNumberOrTooLarge) {
    for (const wchar_t* text : {L"", L"0x", L"-1", L"+1", L" 1", L"1 ", L"12a", L"0xG", L"abc",
                                L"18446744073709551616", L"0x10000000000000000"}) {
        EXPECT_EQ(ParseNumber(text), std::nullopt) << testing::PrintToString(std::wstring(text));
    }
}

TEST(ScriptWords, WordsArePartedByBlanksAndTabs) {
    ScriptWords words(L"  one\ttwo  three ");
    EXPECT_EQ(words.Peek(), L"one");
    EXPECT_EQ(words.Word(L"a"), L"one");
    EXPECT_EQ(words.Word(L"b"), L"two");
    EXPECT_FALSE(words.AtEnd());
    EXPECT_EQ(words.Word(L"c"), L"three");
    EXPECT_TRUE(words.AtEnd());
    EXPECT_FALSE(words.Mistake());
}

TEST(ScriptWords, MissingWord_IsAMistakeThatNamesIt) {
    ScriptWords words(L"");
    EXPECT_EQ(words.Word(L"the point"), L"");
    EXPECT_EQ(words.Mistake(), L"the point is missing");
}

TEST(ScriptWords, OnlyTheFirstMistakeIsKept) {
    ScriptWords words(L"x");
    words.Fail(L"first");
    words.Fail(L"second");
    EXPECT_EQ(words.Mistake(), L"first");
    EXPECT_TRUE(words.AtEnd());
}

TEST(ScriptWords, Text_ReplacesEscapes) {
    ScriptWords words(L"\\n\\r\\t\\\\\\\"\\x0041\\xD83D");
    EXPECT_EQ(words.Text(L"a"), L"\n\r\t\\\"A\xD83D");
    EXPECT_FALSE(words.Mistake());
}

TEST(ScriptWords, Text_QuotedKeepsBlanksAndMayBeEmpty) {
    ScriptWords words(L"\" a \\\" b \" \"\" end");
    EXPECT_EQ(words.Text(L"a"), L" a \" b ");
    EXPECT_EQ(words.Text(L"b"), L"");
    EXPECT_EQ(words.Text(L"c"), L"end");
    EXPECT_FALSE(words.Mistake());
}

TEST(ScriptWords, Text_BadQuotesAndEscapesAreMistakes) {
    for (const wchar_t* text :
         {L"\"open", L"\"open\\\"", L"\"a\"b", L"\\q", L"\\", L"\\x12", L"\\x12G4"}) {
        ScriptWords words(text);
        words.Text(L"a");
        EXPECT_TRUE(words.Mistake()) << testing::PrintToString(std::wstring(text));
    }
}

TEST(ScriptWords, NullableText_OnlyTheBareWordIsNull) {
    ScriptWords words(L"null \"null\" nulls");
    EXPECT_EQ(words.NullableText(L"a"), std::nullopt);
    EXPECT_EQ(words.NullableText(L"b"), L"null");
    EXPECT_EQ(words.NullableText(L"c"), L"nulls");
}

TEST(ScriptWords, RestAsText_TakesTheLineWithoutOuterBlanks) {
    EXPECT_EQ(ScriptWords(L"  100% of \"it\"  ").RestAsText(L"a"), L"100% of \"it\"");
    EXPECT_EQ(ScriptWords(L"\"  kept  \"  ").RestAsText(L"a"), L"  kept  ");
    EXPECT_EQ(ScriptWords(L"null").RestAsText(L"a"), std::nullopt);
    EXPECT_EQ(ScriptWords(L"null and more").RestAsText(L"a"), L"null and more");
}

TEST(ScriptWords, RestAsText_RepeatsACharacter) {
    EXPECT_EQ(ScriptWords(L"repeat:x:3").RestAsText(L"a"), L"xxx");
    EXPECT_EQ(ScriptWords(L"repeat:\\n:2").RestAsText(L"a"), L"\n\n");
    EXPECT_EQ(ScriptWords(L"repeat:::2").RestAsText(L"a"), L"::");
    EXPECT_EQ(ScriptWords(L"repeat:x:0").RestAsText(L"a"), L"");
    EXPECT_EQ(ScriptWords(L"repeat:x:1000000").RestAsText(L"a")->size(), 1000000U);
    for (const wchar_t* text :
         {L"repeat:x:1000001", L"repeat:xy:3", L"repeat::3", L"repeat:3", L"repeat:x:"}) {
        ScriptWords words(text);
        words.RestAsText(L"a");
        EXPECT_TRUE(words.Mistake()) << testing::PrintToString(std::wstring(text));
    }
}

TEST(ScriptWords, RestAsText_WordsAfterTheQuoteAreAMistake) {
    ScriptWords words(L"\"a\" b");
    words.RestAsText(L"a");
    EXPECT_TRUE(words.Mistake());
}

TEST(ScriptWords, Bits32_CoversSignedAndUnsigned) {
    EXPECT_EQ(ScriptWords(L"-1").Bits32(L"a"), 0xFFFFFFFFU);
    EXPECT_EQ(ScriptWords(L"-2147483648").Bits32(L"a"), 0x80000000U);
    EXPECT_EQ(ScriptWords(L"4294967295").Bits32(L"a"), 0xFFFFFFFFU);
    for (const wchar_t* text : {L"-2147483649", L"4294967296", L"-", L"--1"}) {
        ScriptWords words(text);
        words.Bits32(L"a");
        EXPECT_TRUE(words.Mistake()) << testing::PrintToString(std::wstring(text));
    }
}

TEST(ScriptWords, ExpectEnd_NamesWhatIsLeft) {
    ScriptWords words(L"a b c");
    words.Word(L"a");
    words.ExpectEnd();
    EXPECT_EQ(words.Mistake(), L"unexpected words at the end: b c");
}

}  // namespace
}  // namespace dev_controller
