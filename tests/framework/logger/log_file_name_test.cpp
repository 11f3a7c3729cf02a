#include "framework/logger/log_file_name.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

constexpr SYSTEMTIME Start = {2020, 11, 1, 16, 16, 30, 12, 345};

/// Characters of a name template without its directory and prefix.
constexpr std::size_t FixedLength = 30;

std::wstring TemplateOfLength(std::size_t length) {
    const std::wstring prefix = L"quillon";
    return framework::MakeNameTemplate(std::wstring(length - FixedLength - prefix.size(), L'd'),
                                       prefix, Start);
}

TEST(LogFileName, DirectoryPrefixTimeWordAndExtension_AreTheTemplate) {
    EXPECT_EQ(framework::MakeNameTemplate(L"C:\\Logs\\", L"quillon", Start),
              L"C:\\Logs\\quillon-20201116-163012-345.LOGID.log");
}

TEST(LogFileName, SmallNumbersInTime_HaveLeadingZeros) {
    constexpr SYSTEMTIME Early = {987, 1, 0, 2, 3, 4, 5, 6};
    EXPECT_EQ(framework::MakeNameTemplate(L"", L"p", Early), L"p-09870102-030405-006.LOGID.log");
}

TEST(LogFileName, DirectoryWithoutBackslash_IsNotRepaired) {
    EXPECT_EQ(framework::MakeNameTemplate(L"C:\\Logs", L"q", Start),
              L"C:\\Logsq-20201116-163012-345.LOGID.log");
}

TEST(LogFileName, PercentSignsInDirectoryAndPrefix_AreNoConversions) {
    EXPECT_EQ(framework::MakeNameTemplate(L"C:\\%s\\", L"%hu", Start),
              L"C:\\%s\\%hu-20201116-163012-345.LOGID.log");
}

TEST(LogFileName, CharactersAboveCodePages_StayAsTheyAre) {
    EXPECT_EQ(framework::MakeNameTemplate(L"C:\\\x0416\x65E5\\", L"q", Start),
              L"C:\\\x0416\x65E5\\q-20201116-163012-345.LOGID.log");
}

TEST(LogFileName, TemplateOf259Characters_Fits) {
    EXPECT_EQ(TemplateOfLength(259).size(), 259U);
}

TEST(LogFileName, TemplateOf260Characters_Fits) {
    const std::wstring name = TemplateOfLength(260);
    EXPECT_EQ(name.size(), 260U);
    EXPECT_EQ(name.substr(name.size() - 10), L".LOGID.log");
}

TEST(LogFileName, TemplateOf261Characters_IsNone) {
    EXPECT_EQ(TemplateOfLength(261), L"");
}

TEST(LogFileName, TemplateOf600Characters_IsNone) {
    EXPECT_EQ(TemplateOfLength(600), L"");
}

struct NameRow {
    const wchar_t* nameTemplate;
    std::uint32_t number;
    const wchar_t* name;
};

void PrintTo(const NameRow& row, std::ostream* out) {
    *out << testing::PrintToString(row.nameTemplate) << ' ' << row.number;
}

class FileNameTest : public testing::TestWithParam<NameRow> {};

TEST_P(FileNameTest, NumberStandsForEveryWord) {
    EXPECT_EQ(framework::MakeFileName(GetParam().nameTemplate, GetParam().number), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    LogFileName, FileNameTest,
    testing::Values(NameRow{L"C:\\q.LOGID.log", 0, L"C:\\q.0.log"},
                    NameRow{L"C:\\q.LOGID.log", 9, L"C:\\q.9.log"},
                    NameRow{L"C:\\q.LOGID.log", 10, L"C:\\q.10.log"},
                    NameRow{L"C:\\q.LOGID.log", 4294967295, L"C:\\q.4294967295.log"},
                    NameRow{L"C:\\aLOGIDb\\LOGIDq.LOGID.log", 12, L"C:\\a12b\\12q.12.log"},
                    NameRow{L"LOGIDLOGID", 7, L"77"}, NameRow{L"LOGLOGIDID", 7, L"LOG7ID"},
                    NameRow{L"C:\\logid\\LogId.LOGI.LOGID.log", 3, L"C:\\logid\\LogId.LOGI.3.log"},
                    NameRow{L"no word", 1, L"no word"}, NameRow{L"", 1, L""}));

}  // namespace
