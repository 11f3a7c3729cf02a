// The stop under the real SCM: when it is accepted, and what is reported.

#include <gmock/gmock.h>

#include "tests/end-to-end/service/service_run.h"

namespace {

using namespace test;
using testing::ElementsAre;

const StatusReport StartPending = {SERVICE_START_PENDING, 4, 0, 0, 0};
const StatusReport Running = {SERVICE_RUNNING, 4, 0, 0, 0};
const StatusReport RunningStoppable = {SERVICE_RUNNING, 5, 0, 0, 0};

StatusReport StopPending(std::uint64_t checkpoint) {
    return {SERVICE_STOP_PENDING, 5, 0, checkpoint, 20000};
}

StatusReport Stopped(std::uint64_t exitCode) {
    return {SERVICE_STOPPED, 5, exitCode, 0, 0};
}

TEST(ServiceStop, IsRefusedBeforeThePermissionAndAcceptedAfter) {
    const HostFolder names;
    const SharedEvent allow(names, "allow");
    ServiceRun run("on activate when-event " + allow.Name() + " enable-stop\n");
    run.Start();
    EXPECT_EQ(run.Scm().Control(SERVICE_CONTROL_STOP),
              static_cast<DWORD>(ERROR_INVALID_SERVICE_CONTROL));
    EXPECT_EQ(run.Scm().Status().dwControlsAccepted, 4U);
    allow.Set();
    run.AwaitRecord(StopEnabled);
    EXPECT_EQ(run.Scm().Status().dwControlsAccepted, 5U);
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_THAT(run.ReadTranscript().StatusReports(),
                ElementsAre(StartPending, Running, RunningStoppable, StopPending(0), Stopped(0)));
}

TEST(ServiceStop, PermissionGivenTwice_IsReportedTwice) {
    ServiceRun run("on activate enable-stop\non activate enable-stop\n");
    run.Start();
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_EQ(
        run.FrameworkLog(),
        Join(
            {StartReported(), {StopEnabled, StopEnabled}, StartFinished(), WholeStop(L"Stop", 5)}));
    EXPECT_THAT(run.ReadTranscript().StatusReports(),
                ElementsAre(StartPending, Running, RunningStoppable, RunningStoppable,
                            StopPending(0), Stopped(0)));
}

TEST(ServiceStop, OfTwelveSeconds_IsReportedWithCheckpointsZeroToTwo) {
    ServiceRun run("on activate enable-stop\non notify delay 12000\n");
    run.Start();
    // The SCM may return before the handler does.
    EXPECT_THAT(run.Scm().Control(SERVICE_CONTROL_STOP),
                testing::AnyOf(ERROR_SUCCESS, ERROR_SERVICE_REQUEST_TIMEOUT));
    EXPECT_THAT(run.AwaitEnd(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_THAT(run.ReadTranscript().StatusReports(),
                ElementsAre(StartPending, Running, RunningStoppable, StopPending(0), StopPending(1),
                            StopPending(2), Stopped(0)));
    Records stop = WholeStop(L"Stop", 5);
    // Four lines precede the two repeated reports: the logic is running by then.
    stop.insert(stop.begin() + 4, {Report(L"SERVICE_STOP_PENDING", 0, 20000, 5, 1),
                                   Report(L"SERVICE_STOP_PENDING", 0, 20000, 5, 2)});
    EXPECT_EQ(run.FrameworkLog(), Join({StartReported(), {StopEnabled}, StartFinished(), stop}));
}

TEST(ServiceStop, ScmShowsThePendingStateWithItsHint) {
    const HostFolder names;
    const SharedEvent goOn(names, "go-on");
    ServiceRun run("on activate enable-stop\non notify wait-event " + goOn.Name() + " 9000\n");
    run.Start();
    // On the handler's own routine, so that this thread can check meanwhile.
    const framework::KernelHandle handler = run.SendToHandler(SERVICE_CONTROL_STOP);
    const SERVICE_STATUS_PROCESS status = run.Scm().WaitFor(SERVICE_STOP_PENDING);
    EXPECT_EQ(status.dwWaitHint, 20000U);
    EXPECT_EQ(status.dwCheckPoint, 0U);
    EXPECT_EQ(status.dwControlsAccepted, 5U);
    goOn.Set();
    EXPECT_THAT(run.AwaitEnd(), ElementsAre(SERVICE_STOPPED, 0, 0));
}

TEST(ServiceStop, NotifyFails_StopsAllTheSameWith1359) {
    ServiceRun run("on activate enable-stop\non notify return 4\n");
    run.Start();
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, ERROR_INTERNAL_ERROR, 0));
    Records stop = WholeStop(L"Stop", 5);
    stop[5] = Report(L"SERVICE_STOPPED", 1359, 0, 5, 0);
    stop[7] = E(L"WindowsServiceBase->Stop: finished with error 1359 ");
    EXPECT_EQ(run.FrameworkLog(), Join({StartReported(), {StopEnabled}, StartFinished(), stop}));
    EXPECT_EQ(run.OtherLog(),
              run.ExpectedOther({ComReady, StartBegun, EnableAsked, StartOver, StopBegun,
                                 E(L"Orrin->NotifyOnStop failed with error 4"), StopOver, Freed}));
}

TEST(ServiceStop, PendingReporterCannotBeMade_OnStopIsNotRunAtAll) {
    // The executable's threads: two of the start, then the stop's action and its reporter.
    ServiceRun run("on activate enable-stop\nfail-import CreateThread 4 8\n");
    run.Start();
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, ERROR_NOT_ENOUGH_MEMORY, 0));
    EXPECT_EQ(run.FrameworkLog(),
              Join({StartReported(),
                    {StopEnabled},
                    StartFinished(),
                    {Action(L"Stop", L"entered ServiceActionRoutine"),
                     Report(L"SERVICE_STOP_PENDING", 0, 20000, 5, 0),
                     E(L"WindowsServiceBase->Stop: pending thread creation failed with error 8"),
                     Report(L"SERVICE_STOPPED", 8, 0, 5, 0),
                     E(L"WindowsServiceBase->Stop: finished with error 8 "),
                     Action(L"Stop", L"thread hServiceActionRoutine was finished")}}));
    EXPECT_EQ(run.OtherLog(),
              run.ExpectedOther({ComReady, StartBegun, EnableAsked, StartOver, Freed}));
    EXPECT_THAT(run.ReadTranscript().With("call", "notify"), testing::IsEmpty());
}

TEST(ServiceStop, LogicThreadCannotBeMade_ReporterIsAwaited) {
    ServiceRun run("on activate enable-stop\nfail-import CreateThread 5 8\n");
    run.Start();
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, ERROR_NOT_ENOUGH_MEMORY, 0));
    EXPECT_EQ(
        run.FrameworkLog(),
        Join({StartReported(),
              {StopEnabled},
              StartFinished(),
              {Action(L"Stop", L"entered ServiceActionRoutine"),
               Report(L"SERVICE_STOP_PENDING", 0, 20000, 5, 0),
               Action(L"Stop", L"pending thread was created"),
               E(L"WindowsServiceBase->Stop: create hLogicExecutionThread failed with error 8 "),
               Report(L"SERVICE_STOPPED", 8, 0, 5, 0),
               Action(L"Stop", L"pending thread was finished"),
               E(L"WindowsServiceBase->Stop: finished with error 8 "),
               Action(L"Stop", L"thread hServiceActionRoutine was finished")}}));
}

}  // namespace
