#include "tarnwick-service/windows_service_base.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "tests/tarnwick-service/signal.h"
#include "tests/tarnwick-service/status_recorder.h"
#include "tests/tarnwick-service/test_service.h"

namespace tarnwick {
namespace {

using test::Describe;
using test::ErrorLine;
using test::ExpectedReport;
using test::FailedStatusLine;
using test::Lines;
using test::ShutdownOnly;
using test::StatusLine;
using test::TraceLine;

class StatusReporting : public testing::Test {
  protected:
    using Reports = std::vector<ExpectedReport>;

    /// The current record, unchanged.
    std::string Current() {
        statuses.Clear();
        service.ReportCurrentStatus();
        return Describe(statuses.Last());
    }

    /// Whether a report of `second` reaches the platform during one of `first`.
    bool IsOvertaken(const std::function<void()>& first, const std::function<void()>& second) {
        test::Signal firstIsInside;
        test::Signal secondIsInside;
        std::atomic<int> calls{0};
        bool overtaken = false;
        statuses.OnReport([&](const SERVICE_STATUS&) {
            if (++calls == 1) {
                firstIsInside.Set();
                overtaken = secondIsInside.Wait(100);
            } else {
                secondIsInside.Set();
            }
        });
        std::thread other(first);
        EXPECT_TRUE(firstIsInside.Wait());
        second();
        other.join();
        EXPECT_EQ(calls, 2);
        statuses.OnReport({});
        return overtaken;
    }

    test::LogCapture log;
    test::StatusRecorder statuses;
    WindowsServiceBase service{L"StatusReporting", 0, 1, 0};
};

struct Flags {
    BYTE canStop;
    BYTE canShutdown;
    BYTE canPause;
    DWORD accepted;
};

void PrintTo(const Flags& value, std::ostream* out) {
    *out << "flags " << int{value.canStop} << " " << int{value.canShutdown} << " "
         << int{value.canPause};
}

class AcceptedControls : public testing::TestWithParam<Flags> {};

TEST_P(AcceptedControls, AtConstruction_FollowFlagsInAStoppedRecord) {
    const Flags flags = GetParam();
    test::StatusRecorder statuses;
    WindowsServiceBase service(L"AcceptedControls", flags.canStop, flags.canShutdown,
                               flags.canPause);
    service.ReportCurrentStatus();
    EXPECT_EQ(statuses.Reports(),
              Describe(std::vector<ExpectedReport>{{SERVICE_STOPPED, 0, 0, 0, flags.accepted}}));
}

INSTANTIATE_TEST_SUITE_P(AllFlags, AcceptedControls,
                         testing::Values(Flags{0, 0, 0, 0}, Flags{1, 0, 0, 1}, Flags{0, 1, 0, 4},
                                         Flags{0, 0, 1, 2}, Flags{1, 1, 1, 7}, Flags{0, 0xFF, 0, 4},
                                         Flags{0, 0, 0x80, 2}, Flags{1, 2, 2, 7}));

TEST(ServiceName, NullPointer_GivesAnEmptyName) {
    const WindowsServiceBase service(nullptr, 0, 1, 0);
    EXPECT_EQ(service.ServiceName(), L"");
}

TEST(ServiceName, Text_IsCopied) {
    wchar_t name[] = L"first";
    const WindowsServiceBase service(name, 0, 1, 0);
    name[0] = L'w';
    EXPECT_EQ(service.ServiceName(), L"first");
}

TEST_F(StatusReporting, EachState_IsNamedInTheLog) {
    const std::pair<DWORD, const wchar_t*> names[] = {{1, L"SERVICE_STOPPED"},
                                                      {2, L"SERVICE_START_PENDING"},
                                                      {3, L"SERVICE_STOP_PENDING"},
                                                      {4, L"SERVICE_RUNNING"},
                                                      {5, L"SERVICE_CONTINUE_PENDING"},
                                                      {6, L"SERVICE_PAUSE_PENDING"},
                                                      {7, L"SERVICE_PAUSED"},
                                                      {8, L""},
                                                      {0, L""},
                                                      {0xFFFFFFFF, L""}};
    Lines expected;
    Reports reports;
    for (const auto& [state, name] : names) {
        service.SetServiceStatusSafe(state, 5, 6);
        reports.push_back({state, 5, 6, 0, ShutdownOnly});
        expected.push_back(StatusLine(name, reports.back()));
    }
    EXPECT_EQ(log.Lines(), expected);
    EXPECT_EQ(statuses.Reports(), Describe(reports));
}

TEST_F(StatusReporting, Checkpoint_RisesOnlyWhileAnUnfinishedStateRepeats) {
    const std::pair<DWORD, DWORD> stateAndCheckpoint[] = {
        {SERVICE_STOPPED, 0},       {SERVICE_STOPPED, 0},      {SERVICE_START_PENDING, 0},
        {SERVICE_START_PENDING, 1}, {SERVICE_RUNNING, 0},      {SERVICE_RUNNING, 0},
        {SERVICE_STOP_PENDING, 0},  {SERVICE_STOP_PENDING, 1}, {SERVICE_STOP_PENDING, 2},
        {SERVICE_START_PENDING, 0}, {SERVICE_STOP_PENDING, 0}, {SERVICE_STOP_PENDING, 1},
        {SERVICE_STOPPED, 0},       {SERVICE_PAUSED, 0},       {SERVICE_PAUSED, 1}};
    Reports reports;
    for (const auto& [state, checkPoint] : stateAndCheckpoint) {
        service.SetServiceStatusSafe(state, 0, 0);
        reports.push_back({state, 0, 0, checkPoint, ShutdownOnly});
    }
    EXPECT_EQ(statuses.Reports(), Describe(reports));
}

TEST_F(StatusReporting, ExitCodeAndHint_AreOverwrittenByEveryReport) {
    service.SetServiceStatusSafe(SERVICE_STOP_PENDING, 11, 20000);
    service.SetServiceStatusSafe(SERVICE_STOPPED, 0, 0);
    EXPECT_EQ(statuses.Reports(),
              Describe(Reports{{SERVICE_STOP_PENDING, 11, 20000, 0, ShutdownOnly},
                               {SERVICE_STOPPED, 0, 0, 0, ShutdownOnly}}));
}

TEST_F(StatusReporting, RefusedReport_LeavesTwoLinesAndTheChangedRecord) {
    statuses.FailWith(1061);
    service.SetServiceStatusSafe(SERVICE_START_PENDING, 7, 8);
    statuses.FailWith(0);
    service.SetServiceStatusSafe(SERVICE_START_PENDING, 0, 0);
    const ExpectedReport refused = {SERVICE_START_PENDING, 7, 8, 0, ShutdownOnly};
    // The checkpoint continues from the report that the other side never accepted.
    const ExpectedReport next = {SERVICE_START_PENDING, 0, 0, 1, ShutdownOnly};
    EXPECT_EQ(log.Lines(), (Lines{FailedStatusLine(L"SERVICE_START_PENDING", refused, 1061),
                                  StatusLine(L"SERVICE_START_PENDING", refused),
                                  StatusLine(L"SERVICE_START_PENDING", next)}));
    EXPECT_EQ(statuses.Reports(), Describe(Reports{refused, next}));
}

TEST_F(StatusReporting, CurrentStatus_IsSentAgainUnchangedAndUnlogged) {
    service.SetServiceStatusSafe(SERVICE_STOP_PENDING, 3, 4);
    service.SetServiceStatusSafe(SERVICE_STOP_PENDING, 3, 4);
    log.Clear();
    statuses.Clear();
    service.ReportCurrentStatus();
    statuses.FailWith(1);
    service.ReportCurrentStatus();
    const ExpectedReport same = {SERVICE_STOP_PENDING, 3, 4, 1, ShutdownOnly};
    EXPECT_EQ(statuses.Reports(), Describe(Reports{same, same}));
    EXPECT_EQ(log.Lines(), Lines{});
}

TEST_F(StatusReporting, EnableStop_SendsTheRecordAsItStandsWithTheStopBit) {
    service.SetServiceStatusSafe(SERVICE_STOP_PENDING, 9, 10);
    service.SetServiceStatusSafe(SERVICE_STOP_PENDING, 9, 10);
    log.Clear();
    statuses.Clear();
    EXPECT_EQ(service.EnableStopFromSCM(), 0U);
    EXPECT_EQ(statuses.Reports(), Describe(Reports{{SERVICE_STOP_PENDING, 9, 10, 1, 5}}));
    EXPECT_EQ(log.Lines(),
              Lines{TraceLine(L"WindowsServiceBase->EnableStopFromSCM: SERVICE_ACCEPT_STOP set")});
}

TEST_F(StatusReporting, EnableStopTwice_ReportsTwice) {
    EXPECT_EQ(service.EnableStopFromSCM(), 0U);
    EXPECT_EQ(service.EnableStopFromSCM(), 0U);
    const ExpectedReport report = {SERVICE_STOPPED, 0, 0, 0, 5};
    EXPECT_EQ(statuses.Reports(), Describe(Reports{report, report}));
    EXPECT_EQ(log.Lines().size(), 2U);
}

TEST_F(StatusReporting, EnableStopRefused_LeavesTheErrorLineAloneAndKeepsTheBit) {
    service.SetServiceStatusSafe(SERVICE_RUNNING, 0, 0);
    log.Clear();
    statuses.FailWith(1722);
    EXPECT_EQ(service.EnableStopFromSCM(), 1722U);
    EXPECT_EQ(log.Lines(),
              Lines{FailedStatusLine(L"SERVICE_RUNNING", {SERVICE_RUNNING, 0, 0, 0, 5}, 1722)});
    statuses.FailWith(0);
    EXPECT_EQ(Current(), Describe(ExpectedReport{SERVICE_RUNNING, 0, 0, 0, 5}));
}

TEST_F(StatusReporting, AcceptedControls_AreTheSameInEveryStateAfterTheEnable) {
    EXPECT_EQ(service.EnableStopFromSCM(), 0U);
    statuses.Clear();
    Reports reports;
    for (const int code :
         {SERVICE_START_PENDING, SERVICE_RUNNING, SERVICE_STOP_PENDING, SERVICE_STOPPED}) {
        const auto state = static_cast<DWORD>(code);
        service.SetServiceStatusSafe(state, 0, 0);
        reports.push_back({state, 0, 0, 0, 5});
    }
    EXPECT_EQ(statuses.Reports(), Describe(reports));
}

TEST(StatusReportingWithoutHandle, PlatformRefusesWithBadHandle) {
    test::LogCapture log;
    WindowsServiceBase service(L"console", 0, 1, 0);
    service.SetServiceStatusSafe(SERVICE_STOPPED, 713, 0);
    EXPECT_EQ(service.EnableStopFromSCM(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    const ExpectedReport forced = {SERVICE_STOPPED, 713, 0, 0, ShutdownOnly};
    const ExpectedReport enabled = {SERVICE_STOPPED, 713, 0, 0, 5};
    EXPECT_EQ(log.Lines(), (Lines{FailedStatusLine(L"SERVICE_STOPPED", forced, 6),
                                  StatusLine(L"SERVICE_STOPPED", forced),
                                  FailedStatusLine(L"SERVICE_STOPPED", enabled, 6)}));
}

TEST_F(StatusReporting, Reports_AreSentWithTheNullHandleBeforeServiceMain) {
    service.SetServiceStatusSafe(SERVICE_RUNNING, 0, 0);
    EXPECT_EQ(statuses.Handles(), std::vector<SERVICE_STATUS_HANDLE>{nullptr});
}

TEST_F(StatusReporting, ReportsOfSeveralThreads_StandInTheLogInTheirOrder) {
    constexpr DWORD Threads = 4;
    constexpr DWORD ReportsEach = 100;
    std::vector<std::thread> threads;
    for (DWORD thread = 0; thread < Threads; ++thread) {
        threads.emplace_back([this, thread] {
            for (DWORD report = 0; report < ReportsEach; ++report) {
                service.SetServiceStatusSafe(SERVICE_STOP_PENDING, thread, report);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::vector<std::string> reports = statuses.Reports();
    const Lines lines = log.Lines();
    ASSERT_EQ(reports.size(), Threads * ReportsEach);
    ASSERT_EQ(lines.size(), reports.size());
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const std::wstring& line = lines[index];
        // Parsed from the line, the fields must be those of the report with the same number.
        ExpectedReport fields = {SERVICE_STOP_PENDING, 0, 0, 0, 0};
        ASSERT_EQ(
            ::swscanf(line.c_str(),
                      L"[T][quillon] WindowsServiceBase->SetServiceStatus: dwCurrentState = "
                      L"SERVICE_STOP_PENDING, dwWin32ExitCode = %lu, dwWaitHint = %lu, "
                      L"dwControlsAccepted = %lu, dwCheckPoint = %lu ",
                      &fields.exitCode, &fields.waitHint, &fields.accepted, &fields.checkPoint),
            4)
            << testing::PrintToString(line);
        ASSERT_EQ(reports[index], Describe(fields));
        ASSERT_EQ(fields.checkPoint, index);
    }
}

// Two callers are inside the platform call at once, which an exclusive lock would prevent.
TEST_F(StatusReporting, CurrentStatusOfTwoThreads_SharesTheLock) {
    std::atomic<int> inside{0};
    test::Signal both;
    statuses.OnReport([&](const SERVICE_STATUS&) {
        if (++inside == 2) {
            both.Set();
        }
        EXPECT_TRUE(both.Wait(5000)) << "the second caller isn't let in";
    });
    std::thread other([this] { service.ReportCurrentStatus(); });
    service.ReportCurrentStatus();
    other.join();
}

// A report that starts during another one must wait for its log line too.
TEST_F(StatusReporting, ReportDuringAnother_WaitsForIt) {
    EXPECT_FALSE(IsOvertaken([this] { service.SetServiceStatusSafe(SERVICE_RUNNING, 0, 0); },
                             [this] { EXPECT_EQ(service.EnableStopFromSCM(), 0U); }));
    EXPECT_EQ(
        log.Lines(),
        (Lines{StatusLine(L"SERVICE_RUNNING", {SERVICE_RUNNING, 0, 0, 0, ShutdownOnly}),
               TraceLine(L"WindowsServiceBase->EnableStopFromSCM: SERVICE_ACCEPT_STOP set")}));
}

// The record must not change during a report that only repeats it.
TEST_F(StatusReporting, ChangeDuringAReportOfTheCurrentStatus_WaitsForIt) {
    EXPECT_FALSE(IsOvertaken([this] { service.ReportCurrentStatus(); },
                             [this] { service.SetServiceStatusSafe(SERVICE_RUNNING, 0, 0); }));
}

TEST_F(StatusReporting, StepsOfThePlainService_LogOneLineAndSucceed) {
    EXPECT_EQ(service.OnStart(), 0U);
    EXPECT_EQ(service.OnStop(), 0U);
    EXPECT_EQ(service.OnShutdown(), 0U);
    EXPECT_EQ(service.OnPause(), 0U);
    EXPECT_EQ(service.OnContinue(), 0U);
    EXPECT_EQ(log.Lines(), (Lines{TraceLine(L"WindowsServiceBase in OnStart "),
                                  TraceLine(L"WindowsServiceBase in OnStop "),
                                  TraceLine(L"WindowsServiceBase in OnShutdown "),
                                  TraceLine(L"WindowsServiceBase in OnPause "),
                                  TraceLine(L"WindowsServiceBase in OnContinue ")}));
}

}  // namespace
}  // namespace tarnwick
