#include "tools/quillon-log/options.h"

#include <gtest/gtest.h>

namespace quillon_log {
namespace {

constexpr TimePoint Now = 20261120'183005'123;

Options Parse(const std::vector<std::wstring>& arguments) {
    const auto parsed = ParseOptions(arguments, Now);
    if (const auto* error = std::get_if<OptionError>(&parsed)) {
        ADD_FAILURE() << std::string(error->text.begin(), error->text.end());
        return {};
    }
    return std::get<Options>(parsed);
}

bool Fails(const std::vector<std::wstring>& arguments) {
    return std::holds_alternative<OptionError>(ParseOptions(arguments, Now));
}

TEST(ParseOptions, NoArgument_ReadsTheUsualFolderOnce) {
    const Options options = Parse({});
    EXPECT_EQ(options.folder, L"%ALLUSERSPROFILE%\\Velmora\\Quillon\\Logs");
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
        EXPECT_EQ(options.filter.text, L"x");
        EXPECT_EQ(options.folder, L"C:\\logs");
    }
}

TEST(ParseOptions, Times_AreReadAgainstThePresent) {
    const Options options = Parse({L"--since", L"1h", L"--until=2026-11-20"});
    EXPECT_EQ(options.filter.since, 20261120'173005'123);
    EXPECT_EQ(options.filter.until, 20261120'000000'000);
}

TEST(ParseOptions, ValueThatLooksLikeAnOption_IsAValue) {
    EXPECT_EQ(Parse({L"-g", L"-f"}).filter.text, L"-f");
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
                                  {L"one", L"two"}}) {
        EXPECT_TRUE(Fails(arguments)) << std::string(arguments[0].begin(), arguments[0].end());
    }
}

}  // namespace
}  // namespace quillon_log
