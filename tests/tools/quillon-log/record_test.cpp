#include "tools/quillon-log/record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace quillon_log {
namespace {

std::string Bytes(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

const std::wstring FirstText = L"[20261120-183005-123][E][quillon] first\n";
const std::wstring SecondText = L"[20261120-183005-124][T][worker] second\nwith a line\n";

/// A record with texts of its own.
struct Kept {
    explicit Kept(const Record& record) : message(record.message), cut(record.cut) {}
    std::wstring message;
    bool cut;
};

class ScannerTest : public testing::Test {
  protected:
    void Add(const std::string& bytes) {
        std::copy(bytes.begin(), bytes.end(), scanner_.Room(bytes.size()));
        scanner_.Added(bytes.size());
    }

    std::vector<Kept> Next() {
        std::vector<Kept> records;
        for (Record record; scanner_.Next(record);) {
            records.emplace_back(record);
        }
        return records;
    }

    std::vector<Kept> Last() {
        std::vector<Kept> records;
        for (Record record; scanner_.Last(record);) {
            records.emplace_back(record);
        }
        return records;
    }

    RecordScanner scanner_;
};

TEST(ParseRecord, WholeRecord_IsTakenApart) {
    const Record record = ParseRecord(FirstText);
    EXPECT_EQ(record.time, ParseStamp(L"20261120-183005-123"));
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
    EXPECT_FALSE(record.time);
    EXPECT_EQ(record.message, L"[20261120-183005-123] no tag");
}

TEST_F(ScannerTest, RecordIsGiven_WhenTheNextBegins) {
    Add("\xFF\xFE" + Bytes(FirstText));
    EXPECT_TRUE(Next().empty());
    Add(Bytes(SecondText));
    const auto records = Next();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].message, L"first");
    const auto last = Last();
    ASSERT_EQ(last.size(), 1U);
    EXPECT_EQ(last[0].message, L"second\nwith a line");
    EXPECT_TRUE(Last().empty());
}

TEST_F(ScannerTest, BytesInAnyPieces_GiveTheSameRecords) {
    const std::string bytes = "\xFF\xFE" + Bytes(FirstText + SecondText + FirstText);
    for (std::size_t piece = 1; piece <= 7; ++piece) {
        scanner_.Begin(0);
        std::vector<Kept> records;
        const auto add = [&records](const std::vector<Kept>& more) {
            records.insert(records.end(), more.begin(), more.end());
        };
        for (std::size_t begin = 0; begin < bytes.size(); begin += piece) {
            Add(bytes.substr(begin, piece));
            add(Next());
        }
        EXPECT_EQ(scanner_.End(), bytes.size());
        add(Last());
        ASSERT_EQ(records.size(), 3U) << piece;
        EXPECT_EQ(records[1].message, L"second\nwith a line");
        EXPECT_EQ(records[2].message, L"first");
        EXPECT_EQ(scanner_.Consumed(), bytes.size());
    }
}

TEST_F(ScannerTest, EmptyFileAndMarkAlone_GiveNothing) {
    EXPECT_TRUE(Last().empty());
    Add("\xFF\xFE");
    EXPECT_TRUE(Next().empty());
    EXPECT_TRUE(Last().empty());
}

TEST_F(ScannerTest, MarkInTheMiddle_IsText) {
    Add(Bytes(L"[20261120-183005-123][T][a] x\xFEFFy\n"));
    EXPECT_EQ(Last().at(0).message, L"x\xFEFFy");
}

TEST_F(ScannerTest, LogsOneAfterTheOther_AreSplitAtTheirMarks) {
    Add(Bytes(L"\xFEFF" + FirstText + L"\xFEFF" + SecondText));
    const auto records = Last();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].message, L"first");
    EXPECT_EQ(records[1].message, L"second\nwith a line");
}

TEST_F(ScannerTest, HeadWithNothingAfterIt_BeginsACutRecord) {
    Add(Bytes(FirstText + L"[20261120-183005-123]"));
    const auto records = Last();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_FALSE(records[0].cut);
    EXPECT_TRUE(records[1].cut);
}

TEST_F(ScannerTest, HalfACharacterAtTheEnd_IsACutRecord) {
    Add(Bytes(FirstText) + "x");
    EXPECT_TRUE(Last().at(0).cut);
}

class LongText : public ScannerTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(LongText, IsGivenInPiecesOfTheGreatestSize) {
    const std::wstring head = L"[20261120-183005-123][T][a] ";
    const std::size_t total = RecordScanner::MostCharacters + GetParam() - 1;
    const std::wstring text = head + std::wstring(total - head.size() - 1, L'x') + L'\n';
    Add(Bytes(text + FirstText));
    const auto records = Last();
    ASSERT_EQ(records.size(), GetParam() <= 1 ? 2U : 3U);
    std::wstring message;
    for (std::size_t index = 0; index + 1 < records.size(); ++index) {
        message += records[index].message;
        EXPECT_FALSE(records[index].cut);
    }
    EXPECT_EQ(message, text.substr(head.size(), total - head.size() - 1));
    EXPECT_EQ(records.back().message, L"first");
}

INSTANTIATE_TEST_SUITE_P(AroundTheLimit, LongText, testing::Values(0, 1, 2));

}  // namespace
}  // namespace quillon_log
