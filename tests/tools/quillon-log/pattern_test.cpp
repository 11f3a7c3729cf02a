#include "tools/quillon-log/pattern.h"

#include <gtest/gtest.h>

namespace quillon_log {
namespace {

bool Matches(const std::wstring& expression, const std::wstring& text) {
    const auto pattern = Pattern::Parse(expression);
    if (!std::holds_alternative<Pattern>(pattern)) {
        ADD_FAILURE() << testing::PrintToString(expression);
        return false;
    }
    return std::get<Pattern>(pattern).IsIn(text);
}

struct Row {
    const wchar_t* expression;
    const wchar_t* text;
    bool matches;
};

class PatternRow : public testing::TestWithParam<Row> {};

TEST_P(PatternRow, IsFoundOrNot) {
    EXPECT_EQ(Matches(GetParam().expression, GetParam().text), GetParam().matches)
        << testing::PrintToString(GetParam().expression) << " in "
        << testing::PrintToString(GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Expressions, PatternRow,
    testing::Values(
        Row{L"", L"", true}, Row{L"", L"x", true}, Row{L"abc", L"xxABCxx", true},
        Row{L"abc", L"ababab", false}, Row{L"a.c", L"abc", true}, Row{L"a.c", L"a\nc", false},
        Row{L"ab*c", L"ac", true}, Row{L"ab+c", L"ac", false}, Row{L"ab?c", L"abc", true},
        Row{L"ab?c", L"abbc", false}, Row{L"^ab", L"xab", false}, Row{L"^ab", L"x\nab", true},
        Row{L"ab$", L"ab\nx", true}, Row{L"ab$", L"abx", false}, Row{L"^$", L"", true},
        Row{L"^$", L"x", false}, Row{L"cat|dog", L"hotdog", true}, Row{L"cat|dog", L"do", false},
        Row{L"x(a|b)*y", L"xababy", true}, Row{L"x(a|b)*y", L"xacby", false},
        Row{L"(a|)b", L"b", true}, Row{L"a{3}", L"aa", false}, Row{L"a{3}", L"aaa", true},
        Row{L"xa{2,3}y", L"xaaaay", false}, Row{L"xa{2,}y", L"xaaaay", true},
        Row{L"xa{0}y", L"xy", true}, Row{L"[a-c]+x", L"CABx", true}, Row{L"[^a-c]", L"abc", false},
        Row{L"[^a-c]", L"ABCd", true}, Row{L"[]x]", L"]", true}, Row{L"[a-]", L"-", true},
        Row{L"\\d+ ms", L"took 15 ms", true}, Row{L"\\D", L"15", false},
        Row{L"\\bcat\\b", L"a cat.", true}, Row{L"\\bcat\\b", L"concat", false},
        Row{L"\\w+\\s\\w+", L"two words", true}, Row{L"[\\d.]+$", L"v1.2", true},
        Row{L"a\\.b", L"axb", false}, Row{L"\\(\\)", L"f()", true}, Row{L"\\t", L"\t", true},
        Row{L"\x0444", L"\x0424", true}, Row{L"[\x0430-\x044f]", L"\x0424", true},
        Row{L"(x*)*y", L"xxxxy", true}, Row{L"((a*)*)*b", L"aaaa", false}));

TEST(Pattern, MistakesInAnExpression_AreNamed) {
    for (const wchar_t* expression : {L"(",
                                      L")",
                                      L"a)",
                                      L"[a",
                                      L"[",
                                      L"[]",
                                      L"*",
                                      L"+a",
                                      L"a|*",
                                      L"{2}",
                                      L"a{",
                                      L"a{x}",
                                      L"a{2,1}",
                                      L"a{1001}",
                                      L"a{2",
                                      L"\\",
                                      L"\\q",
                                      L"[b-a]",
                                      L"[\\W]",
                                      L"(((){1000}){1000}){1000}",
                                      L"(((x{1000}){1000}){1000}){1000}"}) {
        const auto pattern = Pattern::Parse(expression);
        ASSERT_TRUE(std::holds_alternative<std::wstring>(pattern)) << expression;
        EXPECT_FALSE(std::get<std::wstring>(pattern).empty());
    }
    EXPECT_TRUE(std::holds_alternative<std::wstring>(Pattern::Parse(std::wstring(200, L'('))));
    EXPECT_TRUE(std::holds_alternative<std::wstring>(Pattern::Parse(std::wstring(5000, L'a'))));
}

// An engine that tries one way after the other would not come to an end here.
TEST(Pattern, SearchTime_DoesNotExplode) {
    const std::wstring text(30000, L'a');
    EXPECT_FALSE(Matches(L"(a|aa)+$b", text));
    EXPECT_FALSE(Matches(L"(a*)*(a*)*(a*)*b", text));
    EXPECT_FALSE(Matches(L"(x+x+)+y", std::wstring(30000, L'x')));
}

}  // namespace
}  // namespace quillon_log
