// The pre-exception callback, set by a library through the host's interface.

#include <gmock/gmock.h>

#include <string>

#include "tests/end-to-end/crash/crash_run.h"

namespace {

using test::AccessViolation;
using test::CrashRun;
using test::E;
using test::FilterText;
using test::Join;
using test::Records;
using test::T;

/// `lines` run in LoadAddons, between the registration and the crash.
std::string Script(const std::string& lines) {
    return std::string(test::PretendDump) + "on load register\n" + lines + "on load crash read\n";
}

std::wstring FromLibrary(const std::wstring& text) {
    return L"[T][dev-controller] " + text;
}

Records CallbackBegins(std::uint64_t thread) {
    return {T(FilterText(thread, L"PreActionCallback starts"))};
}

Records CallbackEnds(std::uint64_t thread) {
    return {T(FilterText(thread, L"PreActionCallback finished"))};
}

class Callback : public ::testing::Test {
  protected:
    /// The lines of a crash with the lines of `callback` between them.
    [[nodiscard]] Records Expected(const Records& callback) const {
        const std::uint64_t thread = run_.CrashingThread();
        return Join(
            {test::PassBegins(thread), callback, test::DumpWritten(thread, run_.DumpFile())});
    }

    [[nodiscard]] Records Logs(const std::wstring& text) const {
        const std::uint64_t thread = run_.CrashingThread();
        return Join({CallbackBegins(thread), {FromLibrary(text)}, CallbackEnds(thread)});
    }

    CrashRun run_;
};

TEST_F(Callback, Set_RunsOnTheFaultingThreadWithItsContext) {
    run_.Script(Script("on load set-callback log trace default last-word\n"));
    EXPECT_EQ(run_.Run(L"-run"), AccessViolation);
    EXPECT_EQ(run_.CrashRecords(), Expected(Logs(L"last-word")));

    const test::Transcript transcript = run_.Host().ReadTranscript();
    const auto calls = transcript.With("call", "pre-exception");
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].Number("tid"), run_.CrashingThread());
    EXPECT_EQ(calls[0].Get("context"),
              transcript.With("host", "set-callback").at(0).Get("context"));
}

TEST_F(Callback, Replaced_OnlyTheLaterRuns) {
    run_.Script(
        Script("on load set-callback log trace default first\n"
               "on load set-callback log trace default second\n"));
    EXPECT_EQ(run_.Run(L"-run"), AccessViolation);
    EXPECT_EQ(run_.CrashRecords(), Expected(Logs(L"second")));
}

TEST_F(Callback, Removed_LeavesNoLine) {
    run_.Script(
        Script("on load set-callback log trace default first\n"
               "on load remove-callback\n"));
    EXPECT_EQ(run_.Run(L"-run"), AccessViolation);
    EXPECT_EQ(run_.CrashRecords(), Expected({}));
}

TEST_F(Callback, Null_LeavesNoLine) {
    run_.Script(
        Script("on load set-callback log trace default first\n"
               "on load set-callback null\n"));
    EXPECT_EQ(run_.Run(L"-run"), AccessViolation);
    EXPECT_EQ(run_.CrashRecords(), Expected({}));
}

TEST_F(Callback, SetByAnotherThread_RunsOnTheFaultingOne) {
    const test::SharedEvent set(run_.Host(), "set");
    run_.Script(
        Script("routine set set-callback log trace default last-word\n"
               "routine set set-event " +
               set.Name() +
               "\n"
               "on load thread call set\n"
               "on load wait-event " +
               set.Name() + " 20000\n"));
    EXPECT_EQ(run_.Run(L"-run"), AccessViolation);
    EXPECT_EQ(run_.CrashRecords(), Expected(Logs(L"last-word")));
    EXPECT_EQ(run_.Host().ReadTranscript().With("call", "pre-exception").at(0).Number("tid"),
              run_.CrashingThread());
}

TEST_F(Callback, CrashingItself_EntersTheFilterAgainAndEndsWithTheSecondCode) {
    run_.Script(
        Script("routine crash-once remove-callback\n"
               "routine crash-once crash divide\n"
               "on load set-callback call crash-once\n"));
    EXPECT_EQ(run_.Run(L"-run"), test::DivisionByZero);
    const std::uint64_t thread = run_.CrashingThread();
    EXPECT_EQ(run_.CrashRecords(), Join({test::PassBegins(thread),
                                         CallbackBegins(thread),
                                         {T(L"RemovePreExceptionCallback called")},
                                         test::PassBegins(thread),
                                         test::DumpWritten(thread, run_.DumpFile())}));
}

TEST_F(Callback, CrashingEachTime_EntersTheFilterUntilTheStackIsUsedUp) {
    run_.Script(Script("on load set-callback crash read\n"));
    run_.Run(L"-run");
    const std::uint64_t thread = run_.CrashingThread();
    const Records pass = Join({test::PassBegins(thread), CallbackBegins(thread)});
    const Records records = run_.CrashRecords();
    // The last pass may be incomplete.
    const std::size_t whole = records.size() / pass.size();
    EXPECT_GT(whole, 10U);
    for (std::size_t i = 0; i < whole * pass.size(); ++i) {
        ASSERT_EQ(records[i], pass[i % pass.size()]);
    }
    EXPECT_EQ(run_.DumpCount(), 0U);
}

}  // namespace
