// The library's interrupt: only a report.

#include <gmock/gmock.h>

#include "tests/end-to-end/service/service_run.h"

namespace {

using namespace test;
using testing::ElementsAre;

constexpr DWORD FatalAppExit = 713;
const std::wstring Interrupted = L"[E][quillon] Intterrupt Callback occur";

TEST(ForcedStop, StopsTheServiceWith713WithoutOnStop) {
    const HostFolder names;
    const SharedEvent interrupt(names, "interrupt");
    ServiceRun run("on activate when-event " + interrupt.Name() + " interrupt\n");
    run.Start();
    interrupt.Set();
    EXPECT_THAT(run.AwaitEnd(), ElementsAre(SERVICE_STOPPED, FatalAppExit, 0));
    EXPECT_THAT(run.ReadTranscript().StatusReports(),
                ElementsAre(StatusReport{SERVICE_START_PENDING, 4, 0, 0, 0},
                            StatusReport{SERVICE_RUNNING, 4, 0, 0, 0},
                            StatusReport{SERVICE_STOPPED, 4, FatalAppExit, 0, 0}));
    EXPECT_THAT(
        WithoutFree(run.ReadTranscript().Calls()),
        ElementsAre("create", "load", "register-interface", "register-interface", "activate"));
    ExpectUpToTheEnd(run.FrameworkLog(), Join({StartReported(), StartFinished()}),
                     {Report(L"SERVICE_STOPPED", FatalAppExit, 0, 4, 0)});
    EXPECT_EQ(WithoutFree(run.OtherLog()),
              run.ExpectedOther({ComReady, StartBegun, StartOver, Interrupted}));
}

TEST(ForcedStop, DuringAStop_LeavesTheCheckpointAndTheFinalReportFollows) {
    ServiceRun run("on activate enable-stop\non notify interrupt\n");
    run.Start();
    EXPECT_EQ(run.Scm().Control(SERVICE_CONTROL_STOP), 0U);
    EXPECT_EQ(run.Scm().WaitForExit(), 0U);
    const StatusReport running = {SERVICE_RUNNING, 4, 0, 0, 0};
    EXPECT_THAT(run.ReadTranscript().StatusReports(),
                ElementsAre(StatusReport{SERVICE_START_PENDING, 4, 0, 0, 0}, running,
                            StatusReport{SERVICE_RUNNING, 5, 0, 0, 0},
                            StatusReport{SERVICE_STOP_PENDING, 5, 0, 0, 20000},
                            StatusReport{SERVICE_STOPPED, 5, FatalAppExit, 0, 0},
                            StatusReport{SERVICE_STOPPED, 5, 0, 0, 0}));
    EXPECT_EQ(run.OtherLog(), run.ExpectedOther({ComReady, StartBegun, EnableAsked, StartOver,
                                                 StopBegun, Interrupted, StopOver, Freed}));
    // Here the dispatcher waits, so no line is cut off. The position of the forced report's line
    // depends on how soon the logic thread runs.
    Records framework = run.FrameworkLog();
    EXPECT_EQ(std::erase(framework, Report(L"SERVICE_STOPPED", FatalAppExit, 0, 5, 0)), 1U);
    EXPECT_EQ(framework,
              Join({StartReported(), {StopEnabled}, StartFinished(), WholeStop(L"Stop", 5)}));
}

}  // namespace
