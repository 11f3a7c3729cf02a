#include "tools/controller-check/report.h"

#include <gmock/gmock.h>

namespace controller_check {
namespace {

using testing::HasSubstr;

constexpr Expectation Sample = {L"sample", L"it holds", L"Do this.", nullptr};
constexpr Round Service = Round::Service;
constexpr Round Console = Round::Console;

Result Merged(const std::vector<std::pair<Finding, Round>>& findings) {
    Result result = {&Sample, Verdict::Open, {}};
    for (const auto& [finding, round] : findings) {
        Merge(result, finding, &round);
    }
    return result;
}

std::string Text(const std::vector<Result>& results, bool quiet = false, bool color = false) {
    const std::wstring text = ToText(L"a.dll", results, quiet, color);
    return {text.begin(), text.end()};
}

const Finding Met = {};
const Finding Open = {Verdict::Open, L"not reached"};
const Finding Failed = {Verdict::Failed, L"it broke"};
const Finding Advice = {Verdict::Advice, L"it could"};

TEST(Merge, WorstThatWasSeen_Counts) {
    EXPECT_EQ(Merged({{Open, Service}}).verdict, Verdict::Open);
    EXPECT_EQ(Merged({{Open, Service}, {Met, Console}}).verdict, Verdict::Met);
    EXPECT_EQ(Merged({{Met, Service}, {Open, Console}}).verdict, Verdict::Met);
    EXPECT_EQ(Merged({{Failed, Service}, {Met, Console}}).verdict, Verdict::Failed);
    EXPECT_EQ(Merged({{Met, Service}, {Failed, Console}}).verdict, Verdict::Failed);
    EXPECT_EQ(Merged({{Met, Service}, {Advice, Console}}).verdict, Verdict::Advice);
    EXPECT_EQ(Merged({{Advice, Service}, {Met, Console}}).verdict, Verdict::Advice);
    EXPECT_EQ(Merged({{Advice, Service}, {Failed, Console}}).verdict, Verdict::Failed);
    EXPECT_EQ(Merged({{Failed, Service}, {Advice, Console}}).verdict, Verdict::Failed);
}

TEST(Merge, SameDetailInTwoRounds_IsOneRemark) {
    const Result result = Merged({{Open, Service}, {Failed, Service}, {Failed, Console}});
    ASSERT_EQ(result.remarks.size(), 1U);
    EXPECT_THAT(result.remarks[0].rounds, testing::ElementsAre(Service, Console));
    EXPECT_EQ(Merged({{Failed, Console}, {Failed, Console}}).remarks[0].rounds.size(), 1U);
    EXPECT_EQ(
        Merged({{Failed, Service}, {Finding{Verdict::Failed, L"else"}, Console}}).remarks.size(),
        2U);
}

TEST(ToText, EachVerdict_HasItsLine) {
    EXPECT_THAT(Text({Merged({{Met, Service}})}),
                HasSubstr("  ok      sample            it holds\n"));
    EXPECT_THAT(Text({Merged({{Open, Service}})}),
                HasSubstr("  -       sample            not reached\n"));
    EXPECT_THAT(Text({Merged({{Failed, Service}, {Failed, Console}})}),
                HasSubstr("  FAIL    sample            it broke [service, console]\n"
                          "                            Do this.\n"));
    EXPECT_THAT(Text({Merged({{Advice, Service}})}),
                HasSubstr("  advice  sample            it could [service]\n"
                          "                            Do this.\n"));
    EXPECT_THAT(Text({Result{&Sample, Verdict::Open, {}}}), HasSubstr("no round was played"));
}

TEST(ToText, ExpectationsThatNoRoundWasPlayedFor_AreOneLine) {
    const Result open{&Sample, Verdict::Open, {}};
    const std::string text = Text({Merged({{Failed, Service}}), open, open, open});
    EXPECT_THAT(text, HasSubstr("\n  The other 3 expectations were not checked: no round was "
                                "played.\n"));
    EXPECT_THAT(text, testing::Not(HasSubstr("  -       sample")));
    EXPECT_THAT(text, HasSubstr("4 expectations: 0 met, 1 not met, 0 with advice, 3 not seen\n"));
}

TEST(ToText, LastLine_Counts) {
    EXPECT_THAT(Text({Merged({{Met, Service}}), Merged({{Failed, Service}}),
                      Merged({{Met, Service}}), Merged({{Advice, Service}})}),
                HasSubstr("4 expectations: 2 met, 1 not met, 1 with advice, 0 not seen\n"));
}

TEST(ToText, Quiet_LeavesOnlyWhatFailed) {
    EXPECT_EQ(
        Text({Merged({{Met, Service}}), Merged({{Open, Service}}), Merged({{Advice, Service}})},
             true),
        "");
    EXPECT_THAT(Text({Merged({{Met, Service}}), Merged({{Failed, Service}})}, true),
                testing::StartsWith("  FAIL    sample"));
}

TEST(ToText, Color_MarksTheVerdictAlone) {
    EXPECT_THAT(Text({Merged({{Met, Service}})}, false, true),
                HasSubstr("  \x1b[32mok      \x1b[0msample "));
}

TEST(ToJson, Failure_HasAdviceAndRounds) {
    EXPECT_EQ(ToJson(L"C:\\a \"b\".dll", {Merged({{Failed, Service}})}),
              L"{\"library\":\"C:\\\\a \\\"b\\\".dll\",\"met\":0,\"failed\":1,\"advice\":0,"
              L"\"open\":0,\"expectations\":[\n"
              L"{\"id\":\"sample\",\"verdict\":\"FAIL\",\"expectation\":\"it holds\","
              L"\"advice\":\"Do this.\","
              L"\"remarks\":[{\"rounds\":[\"service\"],\"detail\":\"it broke\"}]}]}\n");
}

TEST(ToJson, Advice_IsAVerdictOfItsOwn) {
    EXPECT_EQ(ToJson(L"a.dll", {Merged({{Advice, Service}})}),
              L"{\"library\":\"a.dll\",\"met\":0,\"failed\":0,\"advice\":1,\"open\":0,"
              L"\"expectations\":[\n"
              L"{\"id\":\"sample\",\"verdict\":\"advice\",\"expectation\":\"it holds\","
              L"\"advice\":\"Do this.\","
              L"\"remarks\":[{\"rounds\":[\"service\"],\"detail\":\"it could\"}]}]}\n");
}

TEST(ToJson, LoneSurrogate_IsEscaped) {
    EXPECT_NE(ToJson(std::wstring(1, static_cast<wchar_t>(0xD83D)), {}).find(L"\\ud83d"),
              std::wstring::npos);
}

TEST(Results, FileAndRounds_MeetInOneList) {
    Results results;
    EXPECT_EQ(results.All().size(), Expectations().size());
    results.AddFile({Met, Failed});
    EXPECT_EQ(results.All()[0].verdict, Verdict::Met);
    EXPECT_TRUE(results.HasFailure());
}

TEST(Results, Advice_IsNoFailure) {
    Results results;
    results.AddFile({Met, Advice});
    EXPECT_EQ(results.All()[1].verdict, Verdict::Advice);
    EXPECT_FALSE(results.HasFailure());
}

}  // namespace
}  // namespace controller_check
