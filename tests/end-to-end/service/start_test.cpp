// The start under the real SCM: reports, threads, and the result of each failure.

#include <gmock/gmock.h>

#include <ostream>

#include "tests/end-to-end/service/service_run.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/end-to-end/support/row_name.h"

namespace {

using namespace test;
using testing::ElementsAre;

const StatusReport StartPending = {SERVICE_START_PENDING, 4, 0, 0, 0};
const StatusReport Running = {SERVICE_RUNNING, 4, 0, 0, 0};
const StatusReport RunningStoppable = {SERVICE_RUNNING, 5, 0, 0, 0};

TEST(ServiceStart, RunsFromStartToStop_WithEveryLineInOrder) {
    ServiceRun run("on activate enable-stop\n");
    run.Start();
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_EQ(run.FrameworkLog(),
              Join({StartReported(), {StopEnabled}, StartFinished(), WholeStop(L"Stop", 5)}));
    EXPECT_EQ(run.OtherLog(), run.ExpectedOther({ComReady, StartBegun, EnableAsked, StartOver,
                                                 StopBegun, StopOver, Freed}));
    EXPECT_THAT(run.ReadTranscript().StatusReports(),
                ElementsAre(StartPending, Running, RunningStoppable,
                            StatusReport{SERVICE_STOP_PENDING, 5, 0, 0, 20000},
                            StatusReport{SERVICE_STOPPED, 5, 0, 0, 0}));
    EXPECT_THAT(run.ReadTranscript().Calls(),
                ElementsAre("create", "load", "register-interface", "register-interface",
                            "activate", "notify", "deactivate", "free"));
}

TEST(ServiceStart, IsReportedRunningBeforeOnStartHasDoneAnything) {
    ServiceRun run("");
    EXPECT_EQ(run.Scm().Start(), 0U);
    const SERVICE_STATUS_PROCESS status = run.Scm().WaitFor(SERVICE_RUNNING);
    EXPECT_EQ(status.dwControlsAccepted, 4U);
    EXPECT_EQ(status.dwServiceType, static_cast<DWORD>(SERVICE_WIN32_OWN_PROCESS));
    for (const TranscriptEntry& entry : run.ReadTranscript().With("call", "activate")) {
        EXPECT_NE(entry.Get("phase"), "leave");
    }
}

TEST(ServiceStart, CreateAndFreeAreMadeOnTheMainThread_TheRestOnLogicThreads) {
    ServiceRun run("on activate enable-stop\n");
    run.Start();
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    const Transcript transcript = run.ReadTranscript();
    const std::string mainThread = transcript.Only("call", "attach").Get("tid");
    const auto threadOf = [&](const char* call) {
        return transcript.With("call", call).front().Get("tid");
    };
    EXPECT_EQ(threadOf("create"), mainThread);
    EXPECT_EQ(threadOf("free"), mainThread);
    EXPECT_NE(threadOf("load"), mainThread);
    EXPECT_EQ(threadOf("load"), threadOf("activate"));
    EXPECT_NE(threadOf("notify"), mainThread);
    EXPECT_EQ(threadOf("notify"), threadOf("deactivate"));
    EXPECT_EQ(transcript.With("call", "create").front().Get("com"), "mta");
    EXPECT_EQ(transcript.With("call", "load").front().Get("com"), "implicit-mta");
}

TEST(ServiceStart, StartParameters_ChangeNothing) {
    ServiceRun run("on activate enable-stop\n");
    run.Start({L"-run", L"-log-console", L"x"});
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_EQ(run.OtherLog(), run.ExpectedOther({ComReady, StartBegun, EnableAsked, StartOver,
                                                 StopBegun, StopOver, Freed}));
}

TEST(ServiceStart, PathWithBlanksAndForeignLetters_Works) {
    ServiceRun run("on activate enable-stop\n", L"a b \x00FC\x0416\x4F8B");
    run.Start();
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_EQ(run.OtherLog(), run.ExpectedOther({ComReady, StartBegun, EnableAsked, StartOver,
                                                 StopBegun, StopOver, Freed}));
}

TEST(ServiceStart, AfterAStop_WorksAgain) {
    ServiceRun run("on activate enable-stop\n");
    run.Start();
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    run.StartAgain();
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    const auto logs = run.Scm().Logs();
    ASSERT_EQ(logs.size(), 2U);
    for (const auto& log : logs) {
        EXPECT_THAT(ReadLogRecords(log), testing::IsSupersetOf({StartBegun, StopOver, Freed}));
    }
}

TEST(ServiceStart, TwoServicesAtOnce_DoNotDisturbEachOther) {
    ServiceRun first("on activate enable-stop\n");
    ServiceRun second("on activate enable-stop\n");
    first.Start();
    second.Start();
    EXPECT_THAT(first.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_EQ(second.Scm().Status().dwCurrentState, static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_THAT(second.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    const Records framework =
        Join({StartReported(), {StopEnabled}, StartFinished(), WholeStop(L"Stop", 5)});
    EXPECT_EQ(first.FrameworkLog(), framework);
    EXPECT_EQ(second.FrameworkLog(), framework);
}

struct FailureRow {
    const char* name;
    const char* script;
    Records startLines;  ///< between "OnStart started" and "OnStart finished"
    std::vector<std::string> calls;
};

void PrintTo(const FailureRow& row, std::ostream* out) {
    *out << row.name;
}

class FailingStart : public testing::TestWithParam<FailureRow> {};

TEST_P(FailingStart, GoesFromRunningToStoppedWith1359) {
    ServiceRun run(GetParam().script);
    run.StartActivating();
    EXPECT_THAT(run.AwaitEnd(), ElementsAre(SERVICE_STOPPED, ERROR_INTERNAL_ERROR, 0));
    EXPECT_THAT(run.ReadTranscript().StatusReports(),
                ElementsAre(StartPending, Running,
                            StatusReport{SERVICE_STOPPED, 4, ERROR_INTERNAL_ERROR, 0, 0}));
    EXPECT_EQ(WithoutFree(run.ReadTranscript().Calls()), GetParam().calls);
    EXPECT_EQ(
        WithoutFree(run.OtherLog()),
        run.ExpectedOther(Join({{ComReady, StartBegun}, GetParam().startLines, {StartOver}})));
    ExpectUpToTheEnd(
        run.FrameworkLog(),
        Join({StartReported(), {Action(L"Start", L"thread with main action logic was finished")}}),
        {Report(L"SERVICE_STOPPED", 1359, 0, 4, 0),
         E(L"WindowsServiceBase->Start: finished with error 1359 ")});
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FailingStart,
    testing::Values(FailureRow{"ActivateFails",
                               "on activate return 5\n",
                               {E(L"Orrin->Activate failed with error 5"),
                                T(L"Orrin->Deactivate started due to QUA-847"),
                                T(L"Orrin->Deactivate finished with code 0")},
                               {"create", "load", "register-interface", "register-interface",
                                "activate", "deactivate"}},
                    FailureRow{"ActivateFailsWithNegativeCode",
                               "on activate return -3\non deactivate return 8\n",
                               {E(L"Orrin->Activate failed with error -3"),
                                T(L"Orrin->Deactivate started due to QUA-847"),
                                T(L"Orrin->Deactivate finished with code 8")},
                               {"create", "load", "register-interface", "register-interface",
                                "activate", "deactivate"}}),
    RowName<FailureRow>);

// Without the wait in `Activate`, because these fail before it.
class EarlyFailure : public testing::TestWithParam<const char*> {};

TEST_P(EarlyFailure, IsToldWith1359AndTheProcessEnds) {
    const HostFolder host;
    host.Script(std::string("record-status\n") + GetParam());
    Service service(host);
    // The SCM may treat such a short start as failed.
    EXPECT_THAT(service.Start(), testing::AnyOf(ERROR_SUCCESS, ERROR_SERVICE_REQUEST_TIMEOUT));
    EXPECT_THAT(StateAndExitCode(service.WaitFor(SERVICE_STOPPED)),
                ElementsAre(SERVICE_STOPPED, ERROR_INTERNAL_ERROR));
    EXPECT_THAT(host.ReadTranscript().StatusReports(),
                ElementsAre(StartPending, Running,
                            StatusReport{SERVICE_STOPPED, 4, ERROR_INTERNAL_ERROR, 0, 0}));
}

INSTANTIATE_TEST_SUITE_P(Rows, EarlyFailure,
                         testing::Values("on create return 7\n", "on load return 1\n",
                                         "on load return 3\n"));

TEST(ServiceStart, SoftFailure_LeavesTheServiceRunning) {
    ServiceRun run("on activate enable-stop\non activate return 3\n");
    run.Start();
    EXPECT_EQ(run.Scm().Status().dwCurrentState, static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_EQ(run.OtherLog(), run.ExpectedOther({ComReady, StartBegun, EnableAsked,
                                                 W(L"Orrin->Activate failed with error 3"),
                                                 T(L"Orrin->Deactivate started due to QUA-847"),
                                                 T(L"Orrin->Deactivate finished with code 0"),
                                                 StartOver, StopBegun, StopOver, Freed}));
    EXPECT_THAT(run.ReadTranscript().Calls(),
                ElementsAre("create", "load", "register-interface", "register-interface",
                            "activate", "deactivate", "notify", "deactivate", "free"));
}

TEST(ServiceStart, LogicThreadCannotBeMade_GoesStraightToStoppedWithTheError) {
    // The executable's first two threads are the action's and the logic's.
    ServiceRun run("fail-import CreateThread 2 8\n");
    EXPECT_THAT(run.Scm().Start(), testing::AnyOf(ERROR_SUCCESS, ERROR_SERVICE_REQUEST_TIMEOUT));
    EXPECT_THAT(StateAndExitCode(run.Scm().WaitFor(SERVICE_STOPPED)),
                ElementsAre(SERVICE_STOPPED, ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_THAT(
        run.ReadTranscript().StatusReports(),
        ElementsAre(StartPending, StatusReport{SERVICE_STOPPED, 4, ERROR_NOT_ENOUGH_MEMORY, 0, 0}));
    EXPECT_THAT(run.ReadTranscript().With("call", "load"), testing::IsEmpty());
}

class LibraryThatCannotBeLoaded : public testing::TestWithParam<const char*> {};

TEST_P(LibraryThatCannotBeLoaded, LeavesTheServiceStoppedAndDoesNotHang) {
    const HostFolder host;
    if (GetParam() == std::string("missing")) {
        std::filesystem::remove(host.Library());
    } else {
        std::filesystem::remove(host.Library());
        WriteFileBytes(host.Library(), "no library at all");
    }
    Service service(host);
    const ULONGLONG begin = ::GetTickCount64();
    EXPECT_NE(service.Start(), 0U);
    EXPECT_LT(::GetTickCount64() - begin, 60000U);
    EXPECT_EQ(service.WaitFor(SERVICE_STOPPED).dwCurrentState, static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_THAT(service.Logs(), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Rows, LibraryThatCannotBeLoaded, testing::Values("missing", "foreign"));

}  // namespace
