// Interrogate, pause, continue and controls that the service ignores.

#include <gmock/gmock.h>

#include "tests/end-to-end/service/service_run.h"

namespace {

using namespace test;
using testing::ElementsAre;

const StatusReport StartPending = {SERVICE_START_PENDING, 4, 0, 0, 0};
const StatusReport Running = {SERVICE_RUNNING, 4, 0, 0, 0};
const StatusReport RunningStoppable = {SERVICE_RUNNING, 5, 0, 0, 0};
const StatusReport StopPending = {SERVICE_STOP_PENDING, 5, 0, 0, 20000};
const StatusReport Stopped = {SERVICE_STOPPED, 5, 0, 0, 0};

constexpr DWORD HandlerLimit = 30000;

TEST(Interrogate, RepeatsTheLastReportAndWritesNoLine) {
    ServiceRun run("on activate enable-stop\n");
    run.Start();
    EXPECT_EQ(run.Scm().Control(SERVICE_CONTROL_INTERROGATE), 0U);
    EXPECT_EQ(run.Scm().Control(SERVICE_CONTROL_INTERROGATE), 0U);
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_THAT(run.ReadTranscript().StatusReports(),
                ElementsAre(StartPending, Running, RunningStoppable, RunningStoppable,
                            RunningStoppable, StopPending, Stopped));
    EXPECT_EQ(run.FrameworkLog(),
              Join({StartReported(), {StopEnabled}, StartFinished(), WholeStop(L"Stop", 5)}));
}

TEST(Interrogate, WhileAStopIsPending_KeepsTheCheckpoint) {
    const HostFolder names;
    const SharedEvent goOn(names, "go-on");
    ServiceRun run("on activate enable-stop\non notify wait-event " + goOn.Name() + " 4000\n");
    run.Start();
    const framework::KernelHandle stop = run.SendToHandler(SERVICE_CONTROL_STOP);
    run.AwaitRecord(Action(L"Stop", L"thread with main action logic was created"));
    const framework::KernelHandle interrogate = run.SendToHandler(SERVICE_CONTROL_INTERROGATE);
    EXPECT_EQ(::WaitForSingleObject(interrogate.Get(), HandlerLimit), WAIT_OBJECT_0);
    goOn.Set();
    EXPECT_THAT(run.AwaitEnd(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_THAT(
        run.ReadTranscript().StatusReports(),
        ElementsAre(StartPending, Running, RunningStoppable, StopPending, StopPending, Stopped));
}

TEST(UnknownControls, AreIgnoredWithoutALine) {
    ServiceRun run("on activate enable-stop\n");
    run.Start();
    for (const DWORD control : {128UL, 200UL, 255UL}) {
        EXPECT_EQ(run.Scm().Control(control), 0U) << control;
    }
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_THAT(run.ReadTranscript().StatusReports(),
                ElementsAre(StartPending, Running, RunningStoppable, StopPending, Stopped));
    EXPECT_EQ(run.FrameworkLog(),
              Join({StartReported(), {StopEnabled}, StartFinished(), WholeStop(L"Stop", 5)}));
}

TEST(PauseAndContinue, AreRefusedByTheScm) {
    ServiceRun run("on activate enable-stop\n");
    run.Start();
    EXPECT_EQ(run.Scm().Control(SERVICE_CONTROL_PAUSE),
              static_cast<DWORD>(ERROR_INVALID_SERVICE_CONTROL));
    EXPECT_EQ(run.Scm().Control(SERVICE_CONTROL_CONTINUE),
              static_cast<DWORD>(ERROR_INVALID_SERVICE_CONTROL));
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
}

TEST(PauseAndContinue, IfTheyArrive_WriteALineAndChangeNothing) {
    ServiceRun run("on activate enable-stop\n");
    run.Start();
    for (const DWORD control :
         std::initializer_list<DWORD>{SERVICE_CONTROL_PAUSE, SERVICE_CONTROL_CONTINUE}) {
        const framework::KernelHandle handler = run.SendToHandler(control);
        EXPECT_EQ(::WaitForSingleObject(handler.Get(), HandlerLimit), WAIT_OBJECT_0);
    }
    EXPECT_EQ(run.Scm().Status().dwCurrentState, static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_THAT(run.ReadTranscript().StatusReports(),
                ElementsAre(StartPending, Running, RunningStoppable, StopPending, Stopped));
    EXPECT_EQ(run.FrameworkLog(), Join({StartReported(),
                                        {StopEnabled},
                                        StartFinished(),
                                        {T(L"WindowsServiceBase->Pause() command recieved "),
                                         T(L"WindowsServiceBase->Continue() command recieved ")},
                                        WholeStop(L"Stop", 5)}));
}

}  // namespace
