#include "tools/quillon-log/record.h"

#include <gtest/gtest.h>

#include <string>

namespace quillon_log {
namespace {

std::string Bytes(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

const std::wstring FirstText = L"[20261120-183005-123][E][quillon] first\n";
const std::wstring SecondText = L"[20261120-183005-124][T][worker] second\nwith a line\n";

TEST(ParseRecord, WholeRecord_IsTakenApart) {
    const Record record = ParseRecord(FirstText);
    EXPECT_EQ(record.time, 20261120'183005'123);
    EXPECT_EQ(record.level, L"E");
    EXPECT_EQ(record.component, L"quillon");
    EXPECT_EQ(record.message, L"first");
    EXPECT_FALSE(record.cut);
}

TEST(ParseRecord, EmptyComponentAndMessage_AreKept) {
    const Record record = ParseRecord(L"[20261120-183005-123][V][] \n");
    EXPECT_EQ(record.level, L"V");
    EXPECT_EQ(record.component, L"");
    EXPECT_EQ(record.message, L"");
}

TEST(ParseRecord, MissingLineFeed_IsACutRecord) {
    EXPECT_TRUE(ParseRecord(L"[20261120-183005-123][T][quillon] brok").cut);
    EXPECT_TRUE(ParseRecord(L"[20261120-1830").cut);
}

TEST(ParseRecord, TextOfAnotherShape_IsAMessageAlone) {
    const Record record = ParseRecord(L"[20261120-183005-123] no tag\n");
    EXPECT_EQ(record.time, 0U);
    EXPECT_EQ(record.message, L"[20261120-183005-123] no tag");
}

TEST(RecordParser, RecordIsGiven_WhenTheNextBegins) {
    RecordParser parser;
    EXPECT_TRUE(parser.Take("\xFF\xFE" + Bytes(FirstText)).empty());
    const auto records = parser.Take(Bytes(SecondText));
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].message, L"first");
    const auto last = parser.Finish();
    ASSERT_EQ(last.size(), 1U);
    EXPECT_EQ(last[0].message, L"second\nwith a line");
    EXPECT_TRUE(parser.Finish().empty());
}

TEST(RecordParser, BytesInAnyPieces_GiveTheSameRecords) {
    const std::string bytes = "\xFF\xFE" + Bytes(FirstText + SecondText + FirstText);
    for (std::size_t piece = 1; piece <= 7; ++piece) {
        RecordParser parser;
        std::vector<Record> records;
        for (std::size_t begin = 0; begin < bytes.size(); begin += piece) {
            for (Record& record : parser.Take(bytes.substr(begin, piece))) {
                records.push_back(std::move(record));
            }
        }
        for (Record& record : parser.Finish()) {
            records.push_back(std::move(record));
        }
        ASSERT_EQ(records.size(), 3U) << piece;
        EXPECT_EQ(records[1].message, L"second\nwith a line");
        EXPECT_EQ(records[2].message, L"first");
    }
}

TEST(RecordParser, EmptyFileAndMarkAlone_GiveNothing) {
    RecordParser parser;
    EXPECT_TRUE(parser.Finish().empty());
    EXPECT_TRUE(parser.Take("\xFF\xFE").empty());
    EXPECT_TRUE(parser.Finish().empty());
}

TEST(RecordParser, MarkInTheMiddle_IsText) {
    RecordParser parser;
    static_cast<void>(parser.Take(Bytes(L"[20261120-183005-123][T][a] x\xFEFFy\n")));
    EXPECT_EQ(parser.Finish().at(0).message, L"x\xFEFFy");
}

}  // namespace
}  // namespace quillon_log
