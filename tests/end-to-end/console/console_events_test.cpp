// Ctrl+C before, during and after the start, and the events that a user can't send.

#include <gmock/gmock.h>

#include "tests/end-to-end/console/console_run.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/end-to-end/support/remote_call.h"

namespace {

using namespace test;

/// The platform's default handler ends the process with this code, or with 0 on Wine.
constexpr std::uint32_t ControlCExit = 0xC000013A;

TEST(ConsoleEvent, AfterTheStart_StopsInOrderAndPrintsNothing) {
    const HostFolder host;
    host.Script("");
    ConsoleRun run(host);
    EXPECT_EQ(run.ServeAndStop(), 0U);
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(host.OnlyLog(), run.Expected({ComReady, Working, StartBegun, StartOver, CtrlC,
                                            StopBegun, StopOver, Freed}));
    EXPECT_THAT(host.ReadTranscript().Calls(),
                testing::ElementsAre("create", "load", "activate", "notify", "deactivate", "free"));
}

TEST(ConsoleEvent, WhenAnAncestorHasSwitchedOffCtrlC_StopsAllTheSame) {
    const HostFolder host;
    host.Script("");
    ::SetConsoleCtrlHandler(nullptr, TRUE);
    ConsoleRun run(host);
    EXPECT_EQ(run.ServeAndStop(), 0U);
    EXPECT_THAT(host.OnlyLog(), testing::IsSupersetOf({Working, CtrlC, StopOver}));
}

class SpellingOfRun : public testing::TestWithParam<const wchar_t*> {};

TEST_P(SpellingOfRun, IsOneOption) {
    const HostFolder host;
    ConsoleRun run(host, GetParam());
    EXPECT_EQ(run.ServeAndStop(), 0U);
    EXPECT_EQ(run.Output(), "");
    EXPECT_THAT(host.OnlyLog(), testing::IsSupersetOf({Working, StopOver}));
}

INSTANTIATE_TEST_SUITE_P(Forms, SpellingOfRun,
                         testing::Values(L"/RUN", L"-Run", L"-sleep abc -run", L"-foo /run",
                                         L"-dump 1 2 3 -run", L"-zevrunzip -run"));

TEST(ConsoleEvent, DuringTheStart_LetsTheStartFinishAndThenStops) {
    const HostFolder host;
    const SharedEvent starting(host, "starting");
    const SharedEvent goOn(host, "go-on");
    host.Script("on activate set-event " + starting.Name() + "\non activate wait-event " +
                goOn.Name() + " 30000\n");
    ConsoleRun run(host);
    ASSERT_TRUE(starting.Wait());
    run.Interrupt();
    ASSERT_TRUE(WaitForRecord(host.Logs(), CtrlC));
    goOn.Set();
    EXPECT_EQ(run.Wait(), 0U);
    EXPECT_EQ(host.OnlyLog(), run.Expected({ComReady, Working, StartBegun, CtrlC, StartOver,
                                            StopBegun, StopOver, Freed}));
}

// No handler is installed during the construction of the object, so the platform's default handler
// ends the process.
TEST(ConsoleEvent, BeforeTheHandlerStands_EndsTheProcess) {
    const HostFolder host;
    const SharedEvent creating(host, "creating");
    host.Script("on create set-event " + creating.Name() + "\non create wait-event " +
                host.EventName("never") + " 30000\n");
    ConsoleRun run(host);
    ASSERT_TRUE(creating.Wait());
    run.Interrupt();
    EXPECT_THAT(run.Wait(), testing::AnyOf(ControlCExit, 0U));
    EXPECT_EQ(run.Output(), "");
    EXPECT_THAT(host.ReadTranscript().Calls(), testing::ElementsAre("create"));
    const auto files = LogFilesIn(host.Logs());
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].extension(), L".log") << "no exit handler has run";
}

TEST(ConsoleEvent, SecondOneDuringTheStop_WritesItsLineAndChangesNothing) {
    const HostFolder host;
    const SharedEvent stopping(host, "stopping");
    const SharedEvent goOn(host, "go-on");
    host.Script("on notify set-event " + stopping.Name() + "\non notify wait-event " + goOn.Name() +
                " 30000\n");
    ConsoleRun run(host);
    run.AwaitServing();
    run.Interrupt();
    ASSERT_TRUE(stopping.Wait());
    run.Interrupt();
    ASSERT_TRUE(WaitForRecord(host.Logs(), CtrlC, 2));
    goOn.Set();
    EXPECT_EQ(run.Wait(), 0U);
    EXPECT_EQ(host.OnlyLog(), run.Expected({ComReady, Working, StartBegun, StartOver, CtrlC,
                                            StopBegun, CtrlC, StopOver, Freed}));
}

TEST(ConsoleEvent, EveryType_IsHandledAlike) {
    const HostFolder host;
    const SharedEvent goOn(host, "go-on");
    host.Script("trace-import SetConsoleCtrlHandler\non notify wait-event " + goOn.Name() +
                " 30000\n");
    ConsoleRun run(host);
    run.AwaitServing();
    const std::vector<TranscriptEntry> calls =
        host.ReadTranscript().With("import", "SetConsoleCtrlHandler");
    ASSERT_EQ(calls.size(), 2U) << "added once: one call, entered and left";
    EXPECT_EQ(calls[0].Number("arg2") & 0xFFFFFFFF, 1U);
    Records body = {ComReady, Working, StartBegun, StartOver};
    // Ctrl+C, Ctrl+Break, close, logoff, shutdown, and an invalid one.
    for (const std::uint32_t type : {0U, 1U, 2U, 5U, 6U, 77U}) {
        EXPECT_EQ(CallRemotely(run.Process().Process(), calls[0].Number("arg1"), type), 1U);
        body.push_back(CtrlC);
        if (type == CTRL_C_EVENT) {
            ASSERT_TRUE(WaitForRecord(host.Logs(), StopBegun));
            body.push_back(StopBegun);
        }
    }
    goOn.Set();
    EXPECT_EQ(run.Wait(), 0U);
    body.insert(body.end(), {StopOver, Freed});
    EXPECT_EQ(host.OnlyLog(), run.Expected(body));
}

TEST(ConsoleRun, StopEvent_IsUnnamedAndResetByHand) {
    const HostFolder host;
    host.Script("trace-import CreateEventA\n");
    ConsoleRun run(host);
    EXPECT_EQ(run.ServeAndStop(), 0U);
    const std::vector<TranscriptEntry> calls = host.ReadTranscript().With("import", "CreateEventA");
    ASSERT_GE(calls.size(), 2U);
    // The last one, because the run-time library may have created others before.
    const TranscriptEntry& call = calls[calls.size() - 2];
    EXPECT_EQ(call.Number("arg1"), 0U);
    EXPECT_EQ(call.Number("arg2") & 0xFFFFFFFF, 1U);
    EXPECT_EQ(call.Number("arg3") & 0xFFFFFFFF, 0U);
    EXPECT_EQ(call.Number("arg4"), 0U);
}

TEST(ConsoleRun, LogConsole_ShowsTheWholeLogOnStandardOutput) {
    const HostFolder host;
    const SharedEvent started(host, "started");
    host.Script(
        "on activate log trace \"\xD0\x96\xE4\xBE\x8B\" \"\xD0\x96\xE4\xBE\x8B 100%\"\n"
        "on activate set-event " +
        started.Name() + "\n");
    ConsoleRun run(host, L"-run -log-console");
    ASSERT_TRUE(started.Wait());
    run.Interrupt();
    EXPECT_EQ(run.Wait(), 0U);
    EXPECT_THAT(run.Output(),
                testing::HasSubstr("[T][\xD0\x96\xE4\xBE\x8B] \xD0\x96\xE4\xBE\x8B 100%\r\n["));
    EXPECT_THAT(run.Output(), testing::EndsWith("[T][quillon] End\r\n"));
    EXPECT_TRUE(std::filesystem::is_empty(host.DataFolder()));
}

}  // namespace
