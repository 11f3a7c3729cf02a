#include "tools/quillon-log/options.h"

#include <gtest/gtest.h>

namespace quillon_log {
namespace {

const TimePoint Now = ParseStamp(L"20261120-183005-123").value();

Options Parse(const std::vector<std::wstring>& arguments) {
    const auto parsed = ParseOptions(arguments, Now);
    if (const auto* error = std::get_if<OptionError>(&parsed)) {
        ADD_FAILURE() << testing::PrintToString(error->text);
        return {};
    }
    return std::get<Options>(parsed);
}

std::wstring ErrorOf(const std::vector<std::wstring>& arguments) {
    const auto parsed = ParseOptions(arguments, Now);
    const auto* error = std::get_if<OptionError>(&parsed);
    return error == nullptr ? L"" : error->text;
}

bool Fails(const std::vector<std::wstring>& arguments) {
    return std::holds_alternative<OptionError>(ParseOptions(arguments, Now));
}

TEST(ParseOptions, NoArgument_ReadsTheUsualFolderOnce) {
    const Options options = Parse({});
    EXPECT_TRUE(options.operands.empty());
    EXPECT_FALSE(options.follow);
    EXPECT_FALSE(options.json);
    EXPECT_FALSE(options.lastRecords);
}

TEST(ParseOptions, ShortAndLongNames_MeanTheSame) {
    for (const auto& arguments :
         {std::vector<std::wstring>{L"-f", L"-n", L"5", L"-l", L"error", L"-c", L"a", L"-g", L"x",
                                    L"C:\\logs"},
          {L"--follow", L"--lines=5", L"--level=E", L"--component", L"a", L"--grep=x", L"C:\\logs"},
          {L"C:\\logs", L"-fn5", L"-lE", L"-ca", L"-gx"}}) {
        const Options options = Parse(arguments);
        EXPECT_TRUE(options.follow);
        EXPECT_EQ(options.lastRecords, 5U);
        EXPECT_EQ(options.filter.leastLevel, 0);
        EXPECT_EQ(options.filter.components, std::vector<std::wstring>{L"a"});
        EXPECT_EQ(options.filter.texts, std::vector<std::wstring>{L"X"});
        EXPECT_EQ(options.operands, std::vector<std::wstring>{L"C:\\logs"});
    }
}

TEST(ParseOptions, Times_AreReadAgainstThePresent) {
    const Options options = Parse({L"--since", L"1h", L"--until=2026-11-20 18:00"});
    EXPECT_EQ(options.filter.since, ParseStamp(L"20261120-173005-123"));
    EXPECT_EQ(options.filter.until, ParseStamp(L"20261120-180000-000"));
}

TEST(ParseOptions, ValueThatLooksLikeAnOption_IsAValue) {
    EXPECT_EQ(Parse({L"-g", L"-f"}).filter.texts, std::vector<std::wstring>{L"-F"});
}

TEST(ParseOptions, WrongLines_AreRefused) {
    for (const auto& arguments : {std::vector<std::wstring>{L"--levle"},
                                  {L"-x"},
                                  {L"-n"},
                                  {L"-n", L""},
                                  {L"-n", L"many"},
                                  {L"-n", L"-1"},
                                  {L"-l", L"loud"},
                                  {L"--since", L"soon"},
                                  {L"--color", L"red"},
                                  {L"--json=yes"},
                                  {L"-E", L"(a"},
                                  {L"-v"},
                                  {L"--since", L"1h", L"--until", L"2h"},
                                  {L"--since", L"1h", L"--until", L"1h"},
                                  {L"-f", L"--until", L"1h"},
                                  {L"-f", L"--until", L"now"},
                                  {L"-f", L"-"},
                                  {L"--cursor-file", L""},
                                  {L"--runs", L"-l", L"error"},
                                  {L"--runs", L"-g", L"x"},
                                  {L"--runs", L"-C", L"1"},
                                  {L"--cursor-file", L"x", L"-"},
                                  {L"--cursor-file", L"x", L"one", L"two"},
                                  {L"--cursor-file", L"x", L"--until", L"now"},
                                  {L"--cursor-file", L"x", L"--after-cursor", L"y"}}) {
        EXPECT_TRUE(Fails(arguments)) << testing::PrintToString(arguments[0]);
    }
}

TEST(ParseOptions, SeveralFoldersAndFiles_AreTaken) {
    EXPECT_EQ(Parse({L"one", L"two.log", L"-"}).operands.size(), 3U);
}

TEST(ParseOptions, HelpInEveryForm_IsTaken) {
    for (const wchar_t* form : {L"-h", L"--help", L"/?"}) {
        EXPECT_TRUE(Parse({form}).help);
    }
    // Whoever asks for help isn't told of other mistakes.
    EXPECT_TRUE(Parse({L"-v", L"/?"}).help);
}

TEST(ParseOptions, UnknownTime_NamesTheForms) {
    EXPECT_NE(ErrorOf({L"--since", L"5w"}).find(L"not a time: 5w; a time is 2026-11-20"),
              std::wstring::npos);
}

TEST(ParseOptions, LocalTimes_AreReadAsSuchWhereverTheOptionStands) {
    const auto before = Parse({L"--local", L"--since", L"2026-11-20 12:00"}).filter.since;
    const auto after = Parse({L"--since", L"2026-11-20 12:00", L"--local"}).filter.since;
    EXPECT_EQ(before, after);
    EXPECT_EQ(*before + LocalOffset(*before), ParseStamp(L"20261120-120000-000"));
}

}  // namespace
}  // namespace quillon_log
