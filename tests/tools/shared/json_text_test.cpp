#include "tools/shared/json_text.h"

#include <gtest/gtest.h>

using tools::JsonText;

TEST(JsonText, PlainText_StandsBetweenQuotes) {
    EXPECT_EQ(JsonText(L""), L"\"\"");
    EXPECT_EQ(JsonText(L"100% of it \x00E9\x4F60/\x007F"), L"\"100% of it \x00E9\x4F60/\x007F\"");
}

TEST(JsonText, WhatWouldEndOrBreakTheString_IsEscaped) {
    EXPECT_EQ(JsonText(L"a\"b\\c\nd\re\tf"), L"\"a\\\"b\\\\c\\nd\\re\\tf\"");
    EXPECT_EQ(JsonText(std::wstring_view(L"\0\x1f ", 3)), L"\"\\u0000\\u001f \"");
}

TEST(JsonText, Surrogates_AreEscapedOneByOne) {
    EXPECT_EQ(JsonText(L"\xD83D\xDE00"), L"\"\\ud83d\\ude00\"");
    EXPECT_EQ(JsonText(L"\xD7FF\xD800\xDFFF\xE000"), L"\"\xD7FF\\ud800\\udfff\xE000\"");
}
