// Libraries that meet all expectations, and the program's report about them.

#include <gmock/gmock.h>

#include <map>
#include <string>

#include "tests/tools/controller-check/check_run.h"

namespace {

using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

class GoodLibrary : public testing::TestWithParam<const wchar_t*> {};

TEST_P(GoodLibrary, AllRounds_MeetAllThatCanBeSeen) {
    const test::CheckRun check(GetParam());
    const test::CheckOutcome outcome = check.Run();
    EXPECT_EQ(outcome.exitCode, 0U);
    EXPECT_THAT(outcome.failed, IsEmpty()) << outcome.output;
    // None of them sets a pre-exception callback.
    for (const auto& [id, verdict] : outcome.verdicts) {
        EXPECT_EQ(verdict, id == "pre-exception" ? "-" : "ok") << outcome.LineOf(id);
    }
    EXPECT_EQ(outcome.verdicts.size(), 30U);
}

TEST_P(GoodLibrary, Unpacking_MeetsAllThatCanBeSeen) {
    const test::CheckRun check(GetParam());
    const test::CheckOutcome outcome = check.Run(L"--round unpack");
    EXPECT_EQ(outcome.exitCode, 0U);
    EXPECT_THAT(outcome.failed, IsEmpty()) << outcome.output;
    EXPECT_EQ(outcome.verdicts.at("after-free"), "ok");
    EXPECT_EQ(outcome.verdicts.at("log-text"), "ok");
    EXPECT_EQ(outcome.verdicts.at("create-result"), "-");
}

INSTANTIATE_TEST_SUITE_P(Libraries, GoodLibrary,
                         testing::Values(L"orrin-ctrl.dll", L"minimal-controller.dll",
                                         L"faulty-controller.dll"));

/// Plays the rounds of `arguments`: nothing fails, and the report includes these verdicts.
void ExpectInOrder(const test::CheckRun& check, const std::wstring& arguments,
                   const std::map<std::string, std::string>& verdicts) {
    const test::CheckOutcome outcome = check.Run(arguments);
    EXPECT_EQ(outcome.exitCode, 0U);
    EXPECT_THAT(outcome.failed, IsEmpty()) << outcome.output;
    for (const auto& [id, verdict] : verdicts) {
        EXPECT_EQ(outcome.verdicts.at(id), verdict) << outcome.LineOf(id);
    }
}

TEST(GoodAnswers, SoftFailure_IsInOrderAndStoppedAllTheSame) {
    const test::CheckRun check(L"orrin-ctrl.dll");
    check.Script("on activate return 3\non deactivate return 0\n");
    ExpectInOrder(
        check, L"--round service",
        {{"activate-result", "ok"}, {"deactivate-result", "ok"}, {"stop-permission", "-"}});
}

TEST(GoodAnswers, CallbackThatIsRemovedInTime_IsInOrder) {
    const test::CheckRun check(L"orrin-ctrl.dll");
    check.Script("on activate set-callback flush\non free remove-callback\n");
    ExpectInOrder(check, L"--round service --round forced-stop", {{"pre-exception", "ok"}});
}

TEST(GoodAnswers, SlowCallBelowTheLimit_IsInOrder) {
    const test::CheckRun check(L"orrin-ctrl.dll");
    check.Script("on activate delay 1500\n");
    ExpectInOrder(check, L"--round service --timeout 20", {{"in-time", "ok"}});
}

// The log sink outlives the record, and a text may lie at any address and be of any length.
TEST(GoodAnswers, LateLineOfAnUnpacking_IsInOrder) {
    test::CheckRun check(L"faulty-controller.dll");
    check.Fault(L"unpack-late-call");
    ExpectInOrder(check, L"--round unpack --after-free 1500", {{"after-free", "ok"}});
}

TEST(GoodAnswers, TextAtAnOddAddress_IsInOrder) {
    test::CheckRun check(L"faulty-controller.dll");
    check.Fault(L"odd-message");
    ExpectInOrder(check, L"--round service", {{"log-text", "ok"}});
}

TEST(Report, Text_NamesEachExpectationWithoutColours) {
    const test::CheckRun check(L"minimal-controller.dll");
    const test::CheckOutcome outcome = check.RunPlain(L"--round no-start --after-free 0");
    EXPECT_EQ(outcome.exitCode, 0U);
    EXPECT_THAT(outcome.output, HasSubstr("  ok      create-result"));
    EXPECT_THAT(outcome.output, HasSubstr("  -       load-result"));
    EXPECT_THAT(outcome.output, HasSubstr("30 expectations: "));
    EXPECT_THAT(outcome.output, Not(HasSubstr("\x1b[")));
}

TEST(Report, AskedForColours_HasThem) {
    const test::CheckRun check(L"minimal-controller.dll");
    EXPECT_THAT(check.RunPlain(L"--round no-start --color=always").output, HasSubstr("\x1b[32mok"));
}

TEST(Report, QuietAndAllMet_SaysNothing) {
    const test::CheckRun check(L"minimal-controller.dll");
    const test::CheckOutcome outcome = check.RunPlain(L"-q --round no-start");
    EXPECT_EQ(outcome.exitCode, 0U);
    EXPECT_EQ(outcome.output, "");
}

TEST(Report, QuietAndSomethingFailed_NamesThatAlone) {
    const test::CheckRun check(L"orrin-ctrl.dll");
    check.Script("on create return 5\n");
    const test::CheckOutcome outcome = check.RunPlain(L"--quiet --round no-start");
    EXPECT_EQ(outcome.exitCode, 1U);
    EXPECT_THAT(outcome.output, testing::StartsWith("  FAIL    create-result"));
    EXPECT_THAT(outcome.output, HasSubstr("create gave 5 [no-start]"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("ok")));
}

TEST(Report, WrongCommandLine_IsRefusedWithItsReason) {
    const test::CheckRun check(L"minimal-controller.dll");
    const test::CheckOutcome outcome = check.RunPlain(L"--round never");
    EXPECT_EQ(outcome.exitCode, 2U);
    EXPECT_THAT(outcome.output, HasSubstr("controller-check: there is no round never"));
}

TEST(Report, Help_TellsOptionsAndRounds) {
    const test::CheckRun check(L"minimal-controller.dll");
    const test::CheckOutcome outcome = check.RunPlain(L"--help");
    EXPECT_EQ(outcome.exitCode, 0U);
    EXPECT_THAT(outcome.output, HasSubstr("--timeout SECONDS"));
    EXPECT_THAT(outcome.output, HasSubstr("forced-stop"));
}

}  // namespace
