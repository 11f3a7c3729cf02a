// A shutdown or a stop during `OnStart`. Neither waits for the start.

#include <gmock/gmock.h>

#include "tests/end-to-end/service/service_run.h"

namespace {

using namespace test;
using testing::ElementsAre;

const StatusReport StartPending = {SERVICE_START_PENDING, 4, 0, 0, 0};
const StatusReport Running = {SERVICE_RUNNING, 4, 0, 0, 0};

/// Events that stop both logics at a known point.
struct Holds {
    HostFolder names;
    SharedEvent notified{names, "notified"};
    SharedEvent finishStart{names, "finish-start"};
    SharedEvent finishStop{names, "finish-stop"};

    [[nodiscard]] std::string Script() const {
        return "on activate wait-event " + finishStart.Name() + " 30000\non notify set-event " +
               notified.Name() + "\non notify wait-event " + finishStop.Name() + " 30000\n";
    }
};

// The SCM sends a shutdown only when the machine goes down, so the handler is called directly.
TEST(ShutdownDuringStart, RunsOnStopBesideOnStart) {
    const Holds holds;
    ServiceRun run(holds.Script());
    run.StartActivating();
    const framework::KernelHandle handler = run.SendToHandler(SERVICE_CONTROL_SHUTDOWN);
    ASSERT_TRUE(holds.notified.Wait());
    EXPECT_EQ(run.Scm().WaitFor(SERVICE_STOP_PENDING).dwControlsAccepted, 4U);
    EXPECT_THAT(run.ReadTranscript().Calls(),
                ElementsAre("create", "load", "register-interface", "register-interface",
                            "activate", "notify"));
    holds.finishStart.Set();
    run.AwaitRecord(StartFinished().back());
    holds.finishStop.Set();
    EXPECT_THAT(run.AwaitEnd(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_THAT(
        run.ReadTranscript().StatusReports(),
        ElementsAre(StartPending, Running, StatusReport{SERVICE_STOP_PENDING, 4, 0, 0, 20000},
                    StatusReport{SERVICE_STOPPED, 4, 0, 0, 0}));
    EXPECT_EQ(WithoutFree(run.OtherLog()),
              run.ExpectedOther({ComReady, StartBegun, StopBegun, StartOver, StopOver}));
    const Records shutdown = WholeStop(L"Shutdown", 4);
    const auto lines = [&shutdown](std::ptrdiff_t first, std::ptrdiff_t last) {
        return Records(shutdown.begin() + first, shutdown.begin() + last);
    };
    ExpectUpToTheEnd(run.FrameworkLog(),
                     Join({StartReported(), lines(0, 4), StartFinished(), lines(4, 5)}),
                     lines(5, std::ssize(shutdown)));
}

TEST(ShutdownDuringStart, StartThatThenFails_ReportsStoppedWithItsError) {
    const Holds holds;
    ServiceRun run(holds.Script() + "on activate return 5\n");
    run.StartActivating();
    const framework::KernelHandle handler = run.SendToHandler(SERVICE_CONTROL_SHUTDOWN);
    ASSERT_TRUE(holds.notified.Wait());
    holds.finishStart.Set();
    EXPECT_EQ(run.Scm().WaitFor(SERVICE_STOPPED).dwWin32ExitCode,
              static_cast<DWORD>(ERROR_INTERNAL_ERROR));
    std::vector<StatusReport> reports = run.ReadTranscript().StatusReports();
    ASSERT_GE(reports.size(), 4U);
    reports.resize(4);
    EXPECT_THAT(reports, ElementsAre(StartPending, Running,
                                     StatusReport{SERVICE_STOP_PENDING, 4, 0, 0, 20000},
                                     StatusReport{SERVICE_STOPPED, 4, ERROR_INTERNAL_ERROR, 0, 0}));
    holds.finishStop.Set();
    EXPECT_EQ(run.Scm().WaitForExit(), 0U);
}

TEST(StopDuringStart, OnceAllowed_IsReportedAtOnce) {
    const Holds holds;
    ServiceRun run("on activate enable-stop\n" + holds.Script());
    run.StartActivating();
    run.AwaitRecord(StopEnabled);
    const framework::KernelHandle handler = run.SendToHandler(SERVICE_CONTROL_STOP);
    ASSERT_TRUE(holds.notified.Wait());
    EXPECT_EQ(run.Scm().WaitFor(SERVICE_STOP_PENDING).dwControlsAccepted, 5U);
    holds.finishStart.Set();
    run.AwaitRecord(StartFinished().back());
    holds.finishStop.Set();
    EXPECT_THAT(run.AwaitEnd(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_EQ(WithoutFree(run.OtherLog()), run.ExpectedOther({ComReady, StartBegun, EnableAsked,
                                                              StopBegun, StartOver, StopOver}));
}

TEST(Shutdown, OfAStoppableService_RunsOnStopUnderItsOwnName) {
    ServiceRun run("on activate enable-stop\n");
    run.Start();
    const framework::KernelHandle handler = run.SendToHandler(SERVICE_CONTROL_SHUTDOWN);
    EXPECT_THAT(run.AwaitEnd(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_EQ(WithoutFree(run.OtherLog()), run.ExpectedOther({ComReady, StartBegun, EnableAsked,
                                                              StartOver, StopBegun, StopOver}));
    EXPECT_THAT(run.FrameworkLog(),
                testing::Contains(Action(L"Shutdown", L"entered ServiceActionRoutine")));
}

}  // namespace
