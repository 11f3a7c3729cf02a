// Concurrent starts, stops, forced stops and stop permissions. In any order, each report is a valid
// successor of the one before, the last one is SERVICE_STOPPED, and nothing hangs.

#include <gtest/gtest.h>

#include "tests/races/rounds.h"
#include "tests/races/service_round.h"

namespace {

using test::PlayRounds;
using test::RaceRound;
using test::RunTogether;
using test::ServiceRound;

constexpr DWORD FatalAppExit = 713;
constexpr DWORD InternalError = ERROR_INTERNAL_ERROR;
constexpr test::RacePlan Plan = {.rounds = 150, .longRounds = 5000};

DWORD LastState(const ServiceRound& service) {
    return service.LastReport().dwCurrentState;
}

TEST(ServiceRaces, StopDuringStart_EndsStopped) {
    PlayRounds(Plan, [](RaceRound& round) {
        ServiceRound service(round);
        const bool fails = round.Below(3) == 0;
        if (fails) {
            service.LetStartFail();
        }
        const test::Delay untilStop = round.DrawDelay();
        service.Start();
        service.AwaitRunning();
        untilStop.Pass();
        service.Control(SERVICE_CONTROL_STOP);
        service.End();
        EXPECT_EQ(LastState(service), static_cast<DWORD>(SERVICE_STOPPED));
        EXPECT_EQ(service.CountCalls("NotifyOnStop"), 1U);
        EXPECT_EQ(service.CountReports(SERVICE_RUNNING, 0), 1U);
        EXPECT_EQ(service.CountReports(SERVICE_STOPPED, 0), 1U);
        EXPECT_EQ(service.CountReports(SERVICE_STOPPED, InternalError), fails ? 1U : 0U);
    });
}

// The manager sends its controls one after the other, but the service doesn't rely on it.
TEST(ServiceRaces, ShutdownDuringStop_EndsStoppedAfterTheLaterOne) {
    PlayRounds(Plan, [](RaceRound& round) {
        ServiceRound service(round);
        service.Start();
        service.AwaitRunning();
        RunTogether(round, {[&] { service.Control(SERVICE_CONTROL_STOP); },
                            [&] { service.Control(SERVICE_CONTROL_SHUTDOWN); }});
        service.End();
        EXPECT_EQ(LastState(service), static_cast<DWORD>(SERVICE_STOPPED));
        EXPECT_EQ(service.CountCalls("NotifyOnStop"), 2U);
        EXPECT_EQ(service.CountReports(SERVICE_STOPPED, 0), 2U);
    });
}

// If the library requests a forced stop before SERVICE_RUNNING, the service is reported as stopped
// and then as running, because nothing suppresses the start's second report. Such a service runs
// until it is stopped, so the round stops it.
TEST(ServiceRaces, ForcedStopDuringStart_IsReportedOnceWhereverItFalls) {
    PlayRounds(Plan, [](RaceRound& round) {
        ServiceRound service(round);
        RunTogether(round, {[&] { service.Start(); }, [&] { service.Interrupt(); }});
        service.AwaitThreads();
        const std::vector<SERVICE_STATUS> reports = service.Reports();
        EXPECT_EQ(reports.size(), 3U);
        EXPECT_EQ(service.CountReports(SERVICE_STOPPED, FatalAppExit), 1U);
        if (LastState(service) == SERVICE_RUNNING) {
            service.Control(SERVICE_CONTROL_SHUTDOWN);
        }
        service.End();
        EXPECT_EQ(LastState(service), static_cast<DWORD>(SERVICE_STOPPED));
    });
}

class ForcedStopRaces : public testing::TestWithParam<DWORD> {};

INSTANTIATE_TEST_SUITE_P(During, ForcedStopRaces,
                         testing::Values(SERVICE_CONTROL_STOP, SERVICE_CONTROL_SHUTDOWN),
                         [](const auto& control) {
                             return control.param == SERVICE_CONTROL_STOP ? "Stop" : "Shutdown";
                         });

TEST_P(ForcedStopRaces, ForcedStop_IsReportedOnceAndTheActionsOwnReportToo) {
    PlayRounds(Plan, [](RaceRound& round) {
        ServiceRound service(round);
        service.Start();
        service.AwaitRunning();
        RunTogether(round, {[&] { service.Control(GetParam()); }, [&] { service.Interrupt(); }});
        service.End();
        EXPECT_EQ(LastState(service), static_cast<DWORD>(SERVICE_STOPPED));
        EXPECT_EQ(service.CountReports(SERVICE_STOPPED, FatalAppExit), 1U);
        EXPECT_EQ(service.CountReports(SERVICE_STOPPED, 0), 1U);
        EXPECT_EQ(service.CountCalls("NotifyOnStop"), 1U);
    });
}

// During a start and during a stop, so that the permission meets reports of every kind.
TEST(ServiceRaces, StopPermissionFromFourThreads_IsGivenToEachAndStays) {
    PlayRounds(Plan, [](RaceRound& round) {
        ServiceRound service(round);
        const auto enable = [&] { EXPECT_EQ(service.EnableStop(), 0U); };
        RunTogether(round, {[&] { service.Start(); }, enable, enable, enable, enable});
        service.AwaitRunning();
        RunTogether(round, {[&] { service.Control(SERVICE_CONTROL_STOP); }, enable, enable, enable,
                            enable});
        service.End();
        EXPECT_EQ(LastState(service), static_cast<DWORD>(SERVICE_STOPPED));
        EXPECT_EQ(service.LastReport().dwControlsAccepted,
                  static_cast<DWORD>(SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN));
        EXPECT_EQ(service.CountAllowances(), 8U);
    });
}

}  // namespace
