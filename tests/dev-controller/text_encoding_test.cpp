#include "dev-controller/text_encoding.h"

#include <gtest/gtest.h>

namespace dev_controller {
namespace {

TEST(QuotedUtf8, PlainTextStandsBetweenQuotes) {
    EXPECT_EQ(QuotedUtf8(L""), "\"\"");
    EXPECT_EQ(QuotedUtf8(L"100% of it"), "\"100% of it\"");
}

TEST(QuotedUtf8, EveryLengthOfSequence) {
    EXPECT_EQ(QuotedUtf8(L"\x007E\x00E9\x4F60\xD83D\xDE00"),
              "\"~\xC3\xA9\xE4\xBD\xA0\xF0\x9F\x98\x80\"");
}

TEST(QuotedUtf8, WhatWouldBreakTheLineIsEscaped) {
    EXPECT_EQ(QuotedUtf8(L"a\"b\\c\nd\re\tf"), "\"a\\\"b\\\\c\\nd\\re\\x0009f\"");
    EXPECT_EQ(QuotedUtf8(L"\x007F"), "\"\\x007F\"");
}

TEST(QuotedUtf8, LoneSurrogatesAreEscaped) {
    EXPECT_EQ(QuotedUtf8(L"\xD83D"), "\"\\xD83D\"");
    EXPECT_EQ(QuotedUtf8(L"\xDE00x"), "\"\\xDE00x\"");
    EXPECT_EQ(QuotedUtf8(L"\xD83Dx"), "\"\\xD83Dx\"");
}

TEST(WideFromUtf8, ReadsWithAndWithoutByteOrderMark) {
    EXPECT_EQ(WideFromUtf8("on load\n"), L"on load\n");
    EXPECT_EQ(WideFromUtf8("\xEF\xBB\xBF\xD0\xBF"), L"\x043F");
    EXPECT_EQ(WideFromUtf8(""), L"");
    EXPECT_EQ(WideFromUtf8("\xEF\xBB\xBF"), L"");
}

TEST(WideFromUtf8, RefusesWhatIsNotUtf8) {
    EXPECT_EQ(WideFromUtf8("caf\xE9"), std::nullopt);
    EXPECT_EQ(WideFromUtf8("\xFF\xFE"
                           "a"),
              std::nullopt);
}

}  // namespace
}  // namespace dev_controller
