// The three actions: their reports, log lines, threads, waits and closed handles, and the order of
// these.

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <ostream>
#include <thread>

#include "tests/support/log_capture.h"
#include "tests/tarnwick-service/counted_sleep.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "tests/tarnwick-service/signal.h"
#include "tests/tarnwick-service/status_recorder.h"
#include "tests/tarnwick-service/test_service.h"
#include "tests/tarnwick-service/thread_watch.h"

namespace tarnwick {
namespace {

using test::Describe;
using test::ErrorLine;
using test::ExpectedReport;
using test::Lines;
using test::ShutdownOnly;
using test::StatusLine;
using test::TraceLine;
using Reports = std::vector<ExpectedReport>;

// Numbers of an action's threads in the order of their creation.
constexpr std::size_t ActionThread = 0;
constexpr std::size_t LogicThreadOfStart = 1;
constexpr std::size_t PendingThread = 1;
constexpr std::size_t LogicThreadOfStop = 2;

constexpr ExpectedReport StartPending = {SERVICE_START_PENDING, 0, 0, 0, ShutdownOnly};
constexpr ExpectedReport Running = {SERVICE_RUNNING, 0, 0, 0, ShutdownOnly};

constexpr ExpectedReport StopPending(DWORD checkPoint) {
    return {SERVICE_STOP_PENDING, 0, 20000, checkPoint, ShutdownOnly};
}

constexpr ExpectedReport Stopped(DWORD exitCode) {
    return {SERVICE_STOPPED, exitCode, 0, 0, ShutdownOnly};
}

std::wstring StartPendingLine() {
    return StatusLine(L"SERVICE_START_PENDING", StartPending);
}

std::wstring RunningLine() {
    return StatusLine(L"SERVICE_RUNNING", Running);
}

std::wstring StopPendingLine() {
    return StatusLine(L"SERVICE_STOP_PENDING", StopPending(0));
}

std::wstring StoppedLine(DWORD exitCode) {
    return StatusLine(L"SERVICE_STOPPED", Stopped(exitCode));
}

/// A service, and everything that its actions use. The pending reporter's sleeps take no time, so
/// it is held back: its sleep number `lastSleep` lasts until SERVICE_STOPPED is reported.
class ServiceActions : public testing::Test {
  protected:
    ServiceActions() {
        sleeps.OnSleep([this](int number) {
            if (number >= lastSleep) {
                lastSleepBegan.Set();
                EXPECT_TRUE(stopReported.Wait());
            }
        });
        statuses.OnReport([this](const SERVICE_STATUS& status) {
            if (status.dwCurrentState == SERVICE_STOPPED) {
                stopReported.Set();
            } else if (status.dwCurrentState == SERVICE_RUNNING) {
                runningReported.Set();
            }
        });
    }

    void TearDown() override {
        threads.JoinAll();
        WindowsServiceBase::ResetInstance();
    }

    test::LogCapture log;
    test::Signal lastSleepBegan;
    test::Signal runningReported;
    test::Signal stopReported;
    int lastSleep = 1;
    test::StatusRecorder statuses;
    test::CountedSleep sleeps{100};
    test::ThreadWatch threads;
    std::shared_ptr<test::TestService> service = test::TestService::Create();
};

TEST_F(ServiceActions, GoodStart_ReportsRunningAndNothingMore) {
    service->StartAction();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StartPending, Running}));
    EXPECT_EQ(log.Lines(),
              (Lines{TraceLine(L"WindowsServiceBase->Start: entered ServiceActionRoutine"),
                     StartPendingLine(),
                     TraceLine(L"WindowsServiceBase->Start: thread with main action logic was "
                               L"created"),
                     RunningLine(),
                     TraceLine(L"WindowsServiceBase->Start: thread with main action logic was "
                               L"finished"),
                     TraceLine(L"WindowsServiceBase->Start: finished successfully ")}));
    EXPECT_EQ(sleeps.Count(), 0);
    EXPECT_EQ(threads.ExitCode(ActionThread), 0U);
}

TEST_F(ServiceActions, Start_NeedsTwoPlainThreadsAndWaitsForTheLogicAlone) {
    service->StartAction();
    threads.JoinAll();
    const auto creations = threads.Creations();
    ASSERT_EQ(creations.size(), 2U);
    EXPECT_TRUE(creations[ActionThread].isPlain);
    EXPECT_NE(creations[ActionThread].parameter, nullptr);
    EXPECT_TRUE(creations[LogicThreadOfStart].isPlain);
    EXPECT_EQ(creations[LogicThreadOfStart].parameter, nullptr);
    EXPECT_EQ(threads.Waits(), std::vector<std::size_t>{LogicThreadOfStart});
    EXPECT_THAT(threads.Closed(), testing::UnorderedElementsAre(ActionThread, LogicThreadOfStart));
}

TEST_F(ServiceActions, SlowStart_IsRunningWhileTheLogicStillWorks) {
    test::Signal mayEnd;
    std::atomic<bool> ended{false};
    service->start = [&]() -> DWORD {
        EXPECT_TRUE(mayEnd.Wait());
        ended = true;
        return 0;
    };
    // Returns although the logic can't end.
    service->StartAction();
    EXPECT_TRUE(runningReported.Wait());
    EXPECT_FALSE(ended);
    mayEnd.Set();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StartPending, Running}));
}

TEST_F(ServiceActions, FailingStart_GoesFromRunningToStoppedWithItsError) {
    service->start = [] { return DWORD{1359}; };
    service->StartAction();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StartPending, Running, Stopped(1359)}));
    EXPECT_EQ(log.Lines(),
              (Lines{TraceLine(L"WindowsServiceBase->Start: entered ServiceActionRoutine"),
                     StartPendingLine(),
                     TraceLine(L"WindowsServiceBase->Start: thread with main action logic was "
                               L"created"),
                     RunningLine(),
                     TraceLine(L"WindowsServiceBase->Start: thread with main action logic was "
                               L"finished"),
                     StoppedLine(1359),
                     ErrorLine(L"WindowsServiceBase->Start: finished with error 1359 ")}));
    EXPECT_EQ(threads.ExitCode(ActionThread), 1359U);
}

TEST_F(ServiceActions, StartAfterEnable_KeepsTheStopBitInEveryReport) {
    service->start = [this]() -> DWORD {
        EXPECT_TRUE(runningReported.Wait());
        EXPECT_EQ(service->EnableStopFromSCM(), 0U);
        return 5;
    };
    service->StartAction();
    threads.JoinAll();
    EXPECT_EQ(
        statuses.Reports(),
        Describe(Reports{
            StartPending, Running, {SERVICE_RUNNING, 0, 0, 0, 5}, {SERVICE_STOPPED, 5, 0, 0, 5}}));
}

/// Stop and shutdown, which differ only in their name.
struct StopKind {
    const wchar_t* name;
    void (WindowsServiceBase::*action)();
};

void PrintTo(const StopKind& value, std::ostream* out) {
    *out << (std::wstring(value.name) == L"Stop" ? "Stop" : "Shutdown");
}

constexpr StopKind Stop = {L"Stop", &WindowsServiceBase::StopAction};
constexpr StopKind Shutdown = {L"Shutdown", &WindowsServiceBase::ShutdownAction};

class StopActions : public ServiceActions, public testing::WithParamInterface<StopKind> {
  protected:
    void RunAction() { (*service.*GetParam().action)(); }
    /// The beginning of every line of the action.
    [[nodiscard]] static std::wstring Named(const wchar_t* text) {
        return std::wstring(L"WindowsServiceBase->") + GetParam().name + text;
    }
};

INSTANTIATE_TEST_SUITE_P(Both, StopActions, testing::Values(Stop, Shutdown));

TEST_P(StopActions, GoodStop_RunsOnStopAndIsOverWhenTheCallComesBack) {
    int calls = 0;
    service->stop = [&]() -> DWORD {
        ++calls;
        return 0;
    };
    RunAction();
    // Nothing is joined here, because the call itself waits.
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(0)}));
    EXPECT_EQ(log.Lines(),
              (Lines{TraceLine(Named(L": entered ServiceActionRoutine")), StopPendingLine(),
                     TraceLine(Named(L": pending thread was created")),
                     TraceLine(Named(L": thread with main action logic was created")),
                     TraceLine(Named(L": thread with main action logic was finished")),
                     StoppedLine(0), TraceLine(Named(L": pending thread was finished")),
                     TraceLine(Named(L": finished successfully ")),
                     TraceLine(Named(L": thread hServiceActionRoutine was finished"))}));
}

TEST_P(StopActions, QuickStop_EndsTheReporterAfterItsFirstSleep) {
    RunAction();
    EXPECT_EQ(sleeps.Count(), 1);
    EXPECT_EQ(threads.ExitCode(PendingThread), 0U);
}

TEST_P(StopActions, Threads_AreWaitedForAndClosedLogicFirst) {
    RunAction();
    const auto creations = threads.Creations();
    ASSERT_EQ(creations.size(), 3U);
    for (const auto& creation : creations) {
        EXPECT_TRUE(creation.isPlain);
    }
    EXPECT_EQ(creations[LogicThreadOfStop].parameter, nullptr);
    // Each of the other two owns its own record.
    EXPECT_NE(creations[ActionThread].parameter, nullptr);
    EXPECT_NE(creations[PendingThread].parameter, nullptr);
    EXPECT_NE(creations[ActionThread].parameter, creations[PendingThread].parameter);
    std::vector<std::size_t> waits = threads.Waits();
    // The caller's wait for the action can come at any time.
    EXPECT_EQ(std::erase(waits, ActionThread), 1U);
    EXPECT_EQ(waits, (std::vector<std::size_t>{LogicThreadOfStop, PendingThread}));
    EXPECT_EQ(threads.Closed(),
              (std::vector<std::size_t>{LogicThreadOfStop, PendingThread, ActionThread}));
}

TEST_P(StopActions, FailingStop_IsStoppedAllTheSameWithTheError) {
    service->stop = [] { return DWORD{1359}; };
    RunAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(1359)}));
    const Lines lines = log.Lines();
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[5], StoppedLine(1359));
    EXPECT_EQ(lines[6], TraceLine(Named(L": pending thread was finished")));
    EXPECT_EQ(lines[7], ErrorLine(Named(L": finished with error 1359 ")));
    EXPECT_EQ(lines[8], TraceLine(Named(L": thread hServiceActionRoutine was finished")));
    EXPECT_EQ(threads.ExitCode(ActionThread), 1359U);
}

// ---- Failures of the platform's calls

TEST_F(ServiceActions, StartWithoutActionThread_IsStoppedWithoutLogic) {
    service->start = [] {
        ADD_FAILURE() << "the logic runs";
        return DWORD{0};
    };
    threads.FailCreation(ActionThread, 8);
    service->StartAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{Stopped(8)}));
    EXPECT_EQ(log.Lines(), (Lines{ErrorLine(L"WindowsServiceBase->Start: create "
                                            L"hServiceActionRoutine failed with error 8 "),
                                  StoppedLine(8)}));
    EXPECT_EQ(threads.Waits(), std::vector<std::size_t>{});
}

TEST_F(ServiceActions, StartWithoutLogicThread_GoesFromPendingToStopped) {
    threads.FailCreation(LogicThreadOfStart, 14);
    service->StartAction();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StartPending, Stopped(14)}));
    EXPECT_EQ(
        log.Lines(),
        (Lines{TraceLine(L"WindowsServiceBase->Start: entered ServiceActionRoutine"),
               StartPendingLine(),
               ErrorLine(L"WindowsServiceBase->Start: create hLogicExecutionThread failed "
                         L"with error 14 "),
               StoppedLine(14), ErrorLine(L"WindowsServiceBase->Start: finished with error 14 ")}));
    EXPECT_EQ(threads.Waits(), std::vector<std::size_t>{});
}

TEST_F(ServiceActions, StartWithFailingWait_ReportsTheWaitsError) {
    threads.FailWait(LogicThreadOfStart, 87);
    service->StartAction();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StartPending, Running, Stopped(87)}));
    const Lines lines = log.Lines();
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[4], ErrorLine(L"WindowsServiceBase->Start: WaitForSingleObject "
                                  L"hLogicExecutionThread failed with error 87 "));
    EXPECT_EQ(lines[5], StoppedLine(87));
    EXPECT_EQ(lines[6], ErrorLine(L"WindowsServiceBase->Start: finished with error 87 "));
}

TEST_F(ServiceActions, StartWithUnreadableExitCode_ReportsThatError) {
    threads.FailExitCode(LogicThreadOfStart, 5);
    service->StartAction();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StartPending, Running, Stopped(5)}));
    const Lines lines = log.Lines();
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[4],
              TraceLine(L"WindowsServiceBase->Start: thread with main action logic was finished"));
    EXPECT_EQ(lines[5],
              ErrorLine(L"WindowsServiceBase->Start: GetExitCodeThread failed with error 5 "));
    EXPECT_EQ(lines[6], StoppedLine(5));
    EXPECT_EQ(lines[7], ErrorLine(L"WindowsServiceBase->Start: finished with error 5 "));
}

TEST_P(StopActions, WithoutActionThread_IsStoppedWithoutLogicOrWait) {
    service->stop = [] {
        ADD_FAILURE() << "the logic runs";
        return DWORD{0};
    };
    threads.FailCreation(ActionThread, 8);
    RunAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{Stopped(8)}));
    EXPECT_EQ(log.Lines(),
              (Lines{ErrorLine(Named(L": create hServiceActionRoutine failed with error 8 ")),
                     StoppedLine(8)}));
}

TEST_P(StopActions, WithoutActionThread_LeavesTheRecordUnfreed) {
    threads.FailCreation(ActionThread, 8);
    RunAction();
    // A call that frees it here must be the first; a second one would end the process.
    const std::unique_ptr<ServiceActionRecord> record(
        static_cast<ServiceActionRecord*>(threads.Creations().at(ActionThread).parameter));
    EXPECT_EQ(record->actionName, GetParam().name);
    EXPECT_EQ(record->finalState, static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_EQ(record->failureState, static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_EQ(record->pendingState, static_cast<DWORD>(SERVICE_STOP_PENDING));
    EXPECT_EQ(record->waitHint, 20000U);
    EXPECT_EQ(record->pendingIntervalMs, 5000U);
    EXPECT_FALSE(record->finalAtOnce);
}

TEST_F(ServiceActions, RecordOfTheStart_AsksForRunningAtOnce) {
    threads.FailCreation(ActionThread, 8);
    service->StartAction();
    const std::unique_ptr<ServiceActionRecord> record(
        static_cast<ServiceActionRecord*>(threads.Creations().at(ActionThread).parameter));
    EXPECT_EQ(record->actionName, L"Start");
    EXPECT_EQ(record->finalState, static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_EQ(record->failureState, static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_EQ(record->pendingState, static_cast<DWORD>(SERVICE_START_PENDING));
    EXPECT_EQ(record->waitHint, 0U);
    EXPECT_EQ(record->pendingIntervalMs, 0U);
    EXPECT_TRUE(record->finalAtOnce);
}

TEST_P(StopActions, WithoutPendingThread_DoesNotRunTheLogic) {
    service->stop = [] {
        ADD_FAILURE() << "the logic runs";
        return DWORD{0};
    };
    threads.FailCreation(PendingThread, 8);
    RunAction();
    EXPECT_EQ(threads.Creations().size(), 2U);
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(8)}));
    EXPECT_EQ(log.Lines(),
              (Lines{TraceLine(Named(L": entered ServiceActionRoutine")), StopPendingLine(),
                     ErrorLine(Named(L": pending thread creation failed with error 8")),
                     StoppedLine(8), ErrorLine(Named(L": finished with error 8 ")),
                     TraceLine(Named(L": thread hServiceActionRoutine was finished"))}));
}

TEST_P(StopActions, WithoutLogicThread_WaitsForTheReporter) {
    threads.FailCreation(LogicThreadOfStop, 14);
    RunAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(14)}));
    EXPECT_EQ(log.Lines(),
              (Lines{TraceLine(Named(L": entered ServiceActionRoutine")), StopPendingLine(),
                     TraceLine(Named(L": pending thread was created")),
                     ErrorLine(Named(L": create hLogicExecutionThread failed with error 14 ")),
                     StoppedLine(14), TraceLine(Named(L": pending thread was finished")),
                     ErrorLine(Named(L": finished with error 14 ")),
                     TraceLine(Named(L": thread hServiceActionRoutine was finished"))}));
    EXPECT_EQ(threads.Closed(), (std::vector<std::size_t>{PendingThread, ActionThread}));
}

TEST_P(StopActions, FailingWaitForTheLogic_ReportsTheWaitsErrorAndReadsNoExitCode) {
    threads.FailWait(LogicThreadOfStop, 87);
    threads.FailExitCode(LogicThreadOfStop, 5);
    RunAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(87)}));
    const Lines lines = log.Lines();
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[4], ErrorLine(Named(L": WaitForSingleObject hLogicExecutionThread failed with "
                                        L"error 87 ")));
    EXPECT_EQ(lines[5], StoppedLine(87));
    EXPECT_EQ(lines[6], TraceLine(Named(L": pending thread was finished")));
    EXPECT_EQ(lines[7], ErrorLine(Named(L": finished with error 87 ")));
}

TEST_P(StopActions, FailingWaitForTheLogic_ReportsStoppedWhileTheLogicStillWorks) {
    test::Signal mayEnd;
    service->stop = [&]() -> DWORD {
        EXPECT_TRUE(mayEnd.Wait());
        return 0;
    };
    threads.FailWaitAtOnce(LogicThreadOfStop, 87);
    RunAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(87)}));
    mayEnd.Set();
    threads.JoinAll();
}

TEST_P(StopActions, UnreadableExitCode_ReportsThatError) {
    threads.FailExitCode(LogicThreadOfStop, 5);
    RunAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(5)}));
    const Lines lines = log.Lines();
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[4], TraceLine(Named(L": thread with main action logic was finished")));
    EXPECT_EQ(lines[5], ErrorLine(Named(L": GetExitCodeThread failed with error 5 ")));
    EXPECT_EQ(lines[6], StoppedLine(5));
    EXPECT_EQ(lines[7], TraceLine(Named(L": pending thread was finished")));
    EXPECT_EQ(lines[8], ErrorLine(Named(L": finished with error 5 ")));
}

TEST_P(StopActions, FailingWaitForTheReporter_ChangesTheClosingLineAlone) {
    threads.FailWait(PendingThread, 6);
    RunAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(0)}));
    const Lines lines = log.Lines();
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[5], StoppedLine(0));
    EXPECT_EQ(lines[6],
              ErrorLine(Named(L": WaitForSingleObject hPendingThread failed with error 6 ")));
    EXPECT_EQ(lines[7], ErrorLine(Named(L": finished with error 6 ")));
    EXPECT_EQ(lines[8], TraceLine(Named(L": thread hServiceActionRoutine was finished")));
    EXPECT_EQ(threads.ExitCode(ActionThread), 6U);
}

TEST_P(StopActions, FailingWaitForTheReporter_ReplacesTheLogicsError) {
    service->stop = [] { return DWORD{1359}; };
    threads.FailWait(PendingThread, 6);
    RunAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(1359)}));
    const Lines lines = log.Lines();
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[7], ErrorLine(Named(L": finished with error 6 ")));
}

// A failed call that leaves 0 as its error is still a failure.

TEST_F(ServiceActions, StartWithoutLogicThreadNorError_GoesFromPendingToStopped) {
    threads.FailCreation(LogicThreadOfStart, 0);
    service->StartAction();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StartPending, Stopped(0)}));
    EXPECT_EQ(
        log.Lines(),
        (Lines{TraceLine(L"WindowsServiceBase->Start: entered ServiceActionRoutine"),
               StartPendingLine(),
               ErrorLine(L"WindowsServiceBase->Start: create hLogicExecutionThread failed "
                         L"with error 0 "),
               StoppedLine(0), ErrorLine(L"WindowsServiceBase->Start: finished with error 0 ")}));
}

TEST_F(ServiceActions, StartWithFailingWaitWithoutError_IsStoppedAndReadsNoExitCode) {
    test::Signal mayEnd;
    service->start = [&]() -> DWORD {
        EXPECT_TRUE(mayEnd.Wait());
        return 0;
    };
    threads.FailWaitAtOnce(LogicThreadOfStart, 0);
    service->StartAction();
    threads.Join(ActionThread);
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StartPending, Running, Stopped(0)}));
    EXPECT_EQ(
        log.Lines(),
        (Lines{TraceLine(L"WindowsServiceBase->Start: entered ServiceActionRoutine"),
               StartPendingLine(),
               TraceLine(L"WindowsServiceBase->Start: thread with main action logic was "
                         L"created"),
               RunningLine(),
               ErrorLine(L"WindowsServiceBase->Start: WaitForSingleObject "
                         L"hLogicExecutionThread failed with error 0 "),
               StoppedLine(0), ErrorLine(L"WindowsServiceBase->Start: finished with error 0 ")}));
    mayEnd.Set();
    threads.JoinAll();
}

TEST_F(ServiceActions, StartWithUnreadableExitCodeWithoutError_IsStopped) {
    threads.FailExitCode(LogicThreadOfStart, 0);
    service->StartAction();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StartPending, Running, Stopped(0)}));
    const Lines lines = log.Lines();
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[5],
              ErrorLine(L"WindowsServiceBase->Start: GetExitCodeThread failed with error 0 "));
    EXPECT_EQ(lines[7], ErrorLine(L"WindowsServiceBase->Start: finished with error 0 "));
}

TEST_P(StopActions, WithoutPendingThreadNorError_DoesNotRunTheLogic) {
    service->stop = [] {
        ADD_FAILURE() << "the logic runs";
        return DWORD{0};
    };
    threads.FailCreation(PendingThread, 0);
    RunAction();
    EXPECT_EQ(threads.Creations().size(), 2U);
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(0)}));
    EXPECT_EQ(log.Lines(),
              (Lines{TraceLine(Named(L": entered ServiceActionRoutine")), StopPendingLine(),
                     ErrorLine(Named(L": pending thread creation failed with error 0")),
                     StoppedLine(0), ErrorLine(Named(L": finished with error 0 ")),
                     TraceLine(Named(L": thread hServiceActionRoutine was finished"))}));
}

TEST_P(StopActions, FailingWaitForTheReporterWithoutError_ReplacesTheLogicsError) {
    service->stop = [] { return DWORD{1359}; };
    threads.FailWait(PendingThread, 0);
    RunAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(1359)}));
    const Lines lines = log.Lines();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines[lines.size() - 3],
              ErrorLine(Named(L": WaitForSingleObject hPendingThread failed with error 0 ")));
    EXPECT_EQ(lines[lines.size() - 2], ErrorLine(Named(L": finished with error 0 ")));
    EXPECT_EQ(threads.ExitCode(ActionThread), 0U);
}

TEST_P(StopActions, FailingWaitForTheActionWithoutError_LeavesItsLine) {
    threads.FailWait(ActionThread, 0);
    RunAction();
    const Lines lines = log.Lines();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(
        lines[lines.size() - 2],
        ErrorLine(Named(L": WaitForSingleObject hServiceActionRoutine failed with error 0 ")));
    EXPECT_EQ(lines.back(), TraceLine(Named(L": thread hServiceActionRoutine was finished")));
}

TEST_P(StopActions, WithoutActionThreadNorError_IsStopped) {
    threads.FailCreation(ActionThread, 0);
    RunAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{Stopped(0)}));
    EXPECT_EQ(log.Lines(),
              (Lines{ErrorLine(Named(L": create hServiceActionRoutine failed with error 0 ")),
                     StoppedLine(0)}));
}

TEST_P(StopActions, FailingWaitForTheAction_StillSaysThatItWasFinished) {
    threads.FailWait(ActionThread, 6);
    RunAction();
    const Lines lines = log.Lines();
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[7], TraceLine(Named(L": finished successfully ")));
    EXPECT_EQ(lines[8], ErrorLine(Named(L": WaitForSingleObject hServiceActionRoutine failed with "
                                        L"error 6 ")));
    EXPECT_EQ(lines[9], TraceLine(Named(L": thread hServiceActionRoutine was finished")));
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(0)}));
}

// ---- The pending reporter

struct Duration {
    int sleeps;         ///< SERVICE_STOPPED is reported in this sleep of the reporter
    DWORD repetitions;  ///< of the pending report, up to then
};

void PrintTo(const Duration& value, std::ostream* out) {
    *out << value.sleeps << " sleeps";
}

class PendingReporter : public ServiceActions, public testing::WithParamInterface<Duration> {};

// 50 sleeps to the first repetition, and 50 from each to the next; the report follows the sleep.
INSTANTIATE_TEST_SUITE_P(Boundaries, PendingReporter,
                         testing::Values(Duration{49, 0}, Duration{50, 0}, Duration{51, 1},
                                         Duration{99, 1}, Duration{100, 1}, Duration{101, 2},
                                         Duration{120, 2}, Duration{150, 2}, Duration{151, 3},
                                         Duration{1001, 20}));

TEST_P(PendingReporter, StopOfACountOfSleeps_RaisesTheCheckpointEvery50) {
    lastSleep = GetParam().sleeps;
    service->stop = [this]() -> DWORD {
        EXPECT_TRUE(lastSleepBegan.Wait());
        return 0;
    };
    service->StopAction();
    Reports reports;
    for (DWORD checkPoint = 0; checkPoint <= GetParam().repetitions; ++checkPoint) {
        reports.push_back(StopPending(checkPoint));
    }
    reports.push_back(Stopped(0));
    EXPECT_EQ(statuses.Reports(), Describe(reports));
    EXPECT_EQ(sleeps.Count(), GetParam().sleeps);
    std::size_t statusLines = 0;
    for (const std::wstring& line : log.Lines()) {
        statusLines += line.find(L"WindowsServiceBase->SetServiceStatus: ") != std::wstring::npos;
    }
    EXPECT_EQ(statusLines, reports.size());
}

TEST_F(ServiceActions, Reporter_HoldsNoLockWhileItSleeps) {
    lastSleep = 3;
    std::thread other;
    sleeps.OnSleep([&](int number) {
        if (number == 2) {
            test::Signal reported;
            other = std::thread([&] {
                service->ReportCurrentStatus();
                reported.Set();
            });
            EXPECT_TRUE(reported.Wait(5000)) << "the sleeping reporter keeps others out";
        } else if (number == 3) {
            lastSleepBegan.Set();
            EXPECT_TRUE(stopReported.Wait());
        }
    });
    service->stop = [this]() -> DWORD {
        EXPECT_TRUE(lastSleepBegan.Wait());
        return 0;
    };
    service->StopAction();
    other.join();
}

TEST_F(ServiceActions, ForcedStopDuringAStop_EndsTheReporterAndTheFinalReportFollows) {
    service->stop = [this]() -> DWORD {
        EXPECT_TRUE(lastSleepBegan.Wait());
        service->SetServiceStatusSafe(SERVICE_STOPPED, 713, 0);
        threads.Join(PendingThread);
        return 0;
    };
    service->StopAction();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(713), Stopped(0)}));
    EXPECT_EQ(sleeps.Count(), 1);
}

TEST_F(ServiceActions, AnyOtherState_EndsTheReporter) {
    lastSleep = 1000000;  // never
    service->stop = [this]() -> DWORD {
        service->SetServiceStatusSafe(SERVICE_RUNNING, 0, 0);
        threads.Join(PendingThread);
        return 0;
    };
    service->StopAction();
    EXPECT_EQ(Describe(statuses.Last()), Describe(Stopped(0)));
}

// ---- Concurrent actions. The start's threads are 0 and 1, the stop's 2, 3 and 4.

TEST_F(ServiceActions, StopBesideAStart_RunsAtOnceAndTheStartReportsNothingMore) {
    test::Signal startMayEnd;
    service->start = [&]() -> DWORD {
        EXPECT_TRUE(startMayEnd.Wait());
        return 0;
    };
    service->StartAction();
    ASSERT_TRUE(runningReported.Wait());
    service->StopAction();
    const Reports reports = {StartPending, Running, StopPending(0), Stopped(0)};
    EXPECT_EQ(statuses.Reports(), Describe(reports));
    startMayEnd.Set();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(reports));
    EXPECT_EQ(log.Lines().back(), TraceLine(L"WindowsServiceBase->Start: finished successfully "));
}

TEST_F(ServiceActions, StartThatFailsBesideAStop_EndsTheStopsReporter) {
    test::Signal startMayEnd;
    service->start = [&]() -> DWORD {
        EXPECT_TRUE(startMayEnd.Wait());
        return 1359;
    };
    service->stop = [&]() -> DWORD {
        EXPECT_TRUE(lastSleepBegan.Wait());
        startMayEnd.Set();
        threads.Join(0);
        threads.Join(3);
        return 0;
    };
    service->StartAction();
    ASSERT_TRUE(runningReported.Wait());
    service->StopAction();
    EXPECT_EQ(statuses.Reports(),
              Describe(Reports{StartPending, Running, StopPending(0), Stopped(1359), Stopped(0)}));
}

TEST_F(ServiceActions, ShutdownBesideAStop_CountsTheSamePendingStateOn) {
    int calls = 0;
    service->stop = [&]() -> DWORD {
        if (++calls == 1) {
            EXPECT_TRUE(lastSleepBegan.Wait());
            service->ShutdownAction();
        }
        return 0;
    };
    service->StopAction();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(statuses.Reports(),
              Describe(Reports{StopPending(0), StopPending(1), Stopped(0), Stopped(0)}));
}

TEST_F(ServiceActions, SecondStartAfterAStop_BeginsAnew) {
    service->StartAction();
    threads.JoinAll();
    service->StopAction();
    service->StartAction();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StartPending, Running, StopPending(0),
                                                   Stopped(0), StartPending, Running}));
}

TEST_F(ServiceActions, RefusedReports_DoNotChangeTheAction) {
    statuses.FailWith(6);
    int calls = 0;
    service->stop = [&]() -> DWORD {
        ++calls;
        return 0;
    };
    service->StopAction();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(statuses.Reports(), Describe(Reports{StopPending(0), Stopped(0)}));
    const Lines lines = log.Lines();
    ASSERT_EQ(lines.size(), 11U);
    EXPECT_EQ(lines[1], test::FailedStatusLine(L"SERVICE_STOP_PENDING", StopPending(0), 6));
    EXPECT_EQ(lines[2], StopPendingLine());
    EXPECT_EQ(lines[6], test::FailedStatusLine(L"SERVICE_STOPPED", Stopped(0), 6));
    EXPECT_EQ(lines[7], StoppedLine(0));
    EXPECT_EQ(lines[9], TraceLine(L"WindowsServiceBase->Stop: finished successfully "));
}

}  // namespace
}  // namespace tarnwick
