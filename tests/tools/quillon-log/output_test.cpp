#include "tools/quillon-log/output.h"

#include <gtest/gtest.h>

namespace quillon_log {
namespace {

Record Make(std::wstring message) {
    Record record;
    record.time = 20261120'083005'007;
    record.level = L"E";
    record.component = L"worker";
    record.message = std::move(message);
    return record;
}

TEST(ToText, Record_IsOneReadableLine) {
    EXPECT_EQ(ToText(Make(L"done"), false), L"2026-11-20 08:30:05.007 E worker: done\n");
}

TEST(ToText, CutRecord_SaysSo) {
    Record record = Make(L"don");
    record.cut = true;
    EXPECT_EQ(ToText(record, false), L"2026-11-20 08:30:05.007 E worker: don [cut]\n");
}

TEST(ToText, RecordWithoutATime_IsItsMessage) {
    Record record;
    record.message = L"stray";
    EXPECT_EQ(ToText(record, false), L"stray\n");
}

TEST(ToText, Color_MarksErrorsAndEndsBeforeTheLineFeed) {
    const std::wstring text = ToText(Make(L"done"), true);
    EXPECT_NE(text.find(L"\x1b[31mE worker: done\x1b[0m\n"), std::wstring::npos);
}

TEST(ToJson, Record_IsOneObjectOnOneLine) {
    EXPECT_EQ(ToJson(Make(L"a \"b\" \\ \n\r\t\x01 \x0424")),
              L"{\"time\":\"2026-11-20T08:30:05.007Z\",\"level\":\"E\",\"component\":\"worker\","
              L"\"message\":\"a \\\"b\\\" \\\\ \\n\\r\\t\\u0001 \x0424\"}\n");
}

TEST(ToJson, LoneSurrogate_IsEscaped) {
    EXPECT_NE(ToJson(Make(std::wstring(1, static_cast<wchar_t>(0xD83D)))).find(L"\\ud83d"),
              std::wstring::npos);
}

TEST(ToJson, CutRecord_SaysSo) {
    Record record = Make(L"x");
    record.cut = true;
    EXPECT_NE(ToJson(record).find(L",\"cut\":true}"), std::wstring::npos);
}

}  // namespace
}  // namespace quillon_log
