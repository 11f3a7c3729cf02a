#include "tools/quillon-log/output.h"

#include <gtest/gtest.h>

#include "framework/system/console.h"
#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"
#include "tests/support/scratch_folder.h"

namespace quillon_log {
namespace {

Record Make(std::wstring_view message) {
    Record record;
    record.time = ParseStamp(L"20261120-083005-007");
    record.level = L"E";
    record.component = L"worker";
    record.message = message;
    return record;
}

std::wstring ToText(const Record& record, TextStyle style = {}, std::wstring_view tag = {}) {
    std::wstring text;
    RecordWriter(style).AppendText(text, record, tag);
    return text;
}

std::wstring ToJson(const Record& record) {
    Origin origin;
    origin.file = L"quillon-20261120-083000-000.0.log";
    origin.pid = 1234;
    origin.record = 7;
    std::wstring json;
    RecordWriter({}, L"HOST").AppendJson(json, record, origin);
    return json;
}

const std::wstring JsonOrigin =
    L",\"pid\":1234,\"file\":\"quillon-20261120-083000-000.0.log\",\"record\":7,"
    L"\"host\":\"HOST\"}\n";

TEST(ToText, Record_IsOneReadableLine) {
    EXPECT_EQ(ToText(Make(L"done")), L"2026-11-20 08:30:05.007 E worker: done\n");
}

TEST(ToText, CutRecord_SaysSo) {
    Record record = Make(L"don");
    record.cut = true;
    EXPECT_EQ(ToText(record), L"2026-11-20 08:30:05.007 E worker: don [cut]\n");
}

TEST(ToText, RecordWithoutATime_IsItsMessage) {
    Record record;
    record.message = L"stray";
    EXPECT_EQ(ToText(record), L"stray\n");
}

TEST(ToText, Color_MarksErrorsAndEndsBeforeTheLineFeed) {
    const std::wstring text = ToText(Make(L"done"), {true});
    EXPECT_NE(text.find(L"\x1b[31mE worker: done\x1b[0m\n"), std::wstring::npos);
}

TEST(ToJson, Record_IsOneObjectOnOneLine) {
    const std::wstring expected =
        L"{\"time\":\"2026-11-20T08:30:05.007Z\",\"level\":\"E\",\"component\":\"worker\","
        L"\"message\":\"a \\\"b\\\" \\\\ \\n\\r\\t\\u0001 \x0424\"" +
        JsonOrigin;
    EXPECT_EQ(ToJson(Make(L"a \"b\" \\ \n\r\t\x01 \x0424")), expected);
}

TEST(ToJson, LoneSurrogate_IsEscaped) {
    EXPECT_NE(ToJson(Make(L"\xD83D")).find(L"\\ud83d"), std::wstring::npos);
}

TEST(ToJson, CutRecord_SaysSo) {
    Record record = Make(L"x");
    record.cut = true;
    EXPECT_NE(ToJson(record).find(L",\"cut\":true,"), std::wstring::npos);
}

TEST(ToJson, UnknownProcess_IsNull) {
    std::wstring json;
    RecordWriter({}).AppendJson(json, Make(L"x"), Origin());
    EXPECT_NE(json.find(L",\"pid\":null,"), std::wstring::npos);
}

TEST(ToText, Tag_StandsAfterTheTime) {
    EXPECT_EQ(ToText(Make(L"x"), {}, L"1234"), L"2026-11-20 08:30:05.007 [1234] E worker: x\n");
}

TEST(ToText, EscapedStyle_ShowsWhatCanChangeATerminal) {
    TextStyle style;
    style.escape = true;
    Record record = Make(L"a\tb\nc\x1b]0;t\x07 \x7f\x9b\r\x202e\x2066\x00e4");
    record.component = L"w\x1b";
    EXPECT_EQ(ToText(record, style),
              L"2026-11-20 08:30:05.007 E w\\x1b: a\tb\nc\\x1b]0;t\\x07 "
              L"\\x7f\\x9b\\x0d\\u202e\\u2066\x00e4\n");
    EXPECT_NE(ToText(record).find(L'\x1b'), std::wstring::npos);
}

TEST(AppendUtf8, TextOfAllLengths_IsAsThePlatformHasIt) {
    const std::wstring text = L"0123456789abcdef\x00e4\x0424\xFFFD\xD83D\xDE00 end\x07FF\x0800";
    for (std::size_t begin = 0; begin <= text.size(); ++begin) {
        for (std::size_t size = 0; begin + size <= text.size(); ++size) {
            const std::wstring part = text.substr(begin, size);
            std::string bytes = "x";
            AppendUtf8(bytes, part);
            EXPECT_EQ(bytes, "x" + framework::ToUtf8(part)) << begin << ' ' << size;
        }
    }
}

/// Standard output during a test.
class OutputTo {
  public:
    explicit OutputTo(HANDLE handle) : before_(::GetStdHandle(STD_OUTPUT_HANDLE)) {
        ::SetStdHandle(STD_OUTPUT_HANDLE, handle);
    }
    ~OutputTo() { ::SetStdHandle(STD_OUTPUT_HANDLE, before_); }
    OutputTo(const OutputTo&) = delete;
    OutputTo& operator=(const OutputTo&) = delete;

  private:
    HANDLE before_;
};

TEST(Output, FailedWrite_IsAFailureWithItsError) {
    const test::ScratchFolder folder;
    const auto path = folder.Path() / "read-only";
    test::WriteFileBytes(path, "x");
    const framework::FileHandle file(::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr,
                                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    const OutputTo output(file.Get());
    Output written;
    written.Text() += L"text";
    EXPECT_FALSE(written.Flush());
    EXPECT_FALSE(written.IsOpen());
    EXPECT_EQ(written.Failure(), static_cast<unsigned long>(ERROR_ACCESS_DENIED));
}

TEST(Output, ClosedPipe_EndsTheOutputWithoutAFailure) {
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;
    ASSERT_TRUE(::CreatePipe(&reader, &writer, nullptr, 0));
    ::CloseHandle(reader);
    const framework::FileHandle file(writer);
    const OutputTo output(file.Get());
    Output written;
    written.Text() += L"text";
    EXPECT_FALSE(written.Flush());
    EXPECT_EQ(written.Failure(), 0U);
}

}  // namespace
}  // namespace quillon_log
