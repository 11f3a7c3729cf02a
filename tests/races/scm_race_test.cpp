// The same races with the real executable under the real Service Control Manager. Only a few
// rounds, because each one starts a process. Checks the manager's view first, then the reports that
// the executable has sent.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/end-to-end/support/service.h"
#include "tests/races/report_order.h"
#include "tests/races/rounds.h"

namespace {

using test::PlayRounds;
using test::RaceRound;

constexpr DWORD FatalAppExit = 713;
constexpr DWORD WaitLimitMs = 30000;
constexpr std::uint32_t LongestStepMs = 300;
constexpr test::RacePlan Plan = {.rounds = 6, .longRounds = 200};

std::string Milliseconds(RaceRound& round) {
    return std::to_string(round.Below(LongestStepMs));
}

/// Sends stops until one is accepted; the library must allow it first. False if the service has
/// stopped by itself.
bool StopOnceAllowed(test::Service& service) {
    const ULONGLONG limit = ::GetTickCount64() + WaitLimitMs;
    while (::GetTickCount64() < limit) {
        const DWORD error = service.Control(SERVICE_CONTROL_STOP);
        if (error == ERROR_SUCCESS) {
            return true;
        }
        if (service.Status().dwCurrentState == SERVICE_STOPPED) {
            return false;
        }
        ::Sleep(1);
    }
    ADD_FAILURE() << "the stop is never accepted";
    return false;
}

SERVICE_STATUS Record(const test::StatusReport& report) {
    return {SERVICE_WIN32_OWN_PROCESS,
            static_cast<DWORD>(report.state),
            static_cast<DWORD>(report.accepted),
            static_cast<DWORD>(report.exitCode),
            0,
            static_cast<DWORD>(report.checkpoint),
            static_cast<DWORD>(report.waitHint)};
}

/// The service at its end, by the manager and by the transcript.
void CheckEnd(const test::HostFolder& host, const test::Service& service) {
    EXPECT_EQ(service.WaitFor(SERVICE_STOPPED).dwCurrentState, static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_EQ(service.WaitForExit(), 0U);
    const std::vector<test::StatusReport> reports = host.ReadTranscript().StatusReports();
    // A service without a report would also count as stopped.
    ASSERT_FALSE(reports.empty()) << "no report is in the transcript";
    SERVICE_STATUS before = test::Unreported;
    for (const test::StatusReport& report : reports) {
        const SERVICE_STATUS next = Record(report);
        EXPECT_EQ(test::BreachOfOrder(before, next), "")
            << "state " << before.dwCurrentState << ", then " << next.dwCurrentState;
        before = next;
    }
    EXPECT_EQ(before.dwCurrentState, static_cast<DWORD>(SERVICE_STOPPED));
}

TEST(ScmRaces, StopDuringStart_EndsStopped) {
    PlayRounds(Plan, [](RaceRound& round) {
        const test::HostFolder host;
        host.Script("record-status\non load register\non activate delay " + Milliseconds(round) +
                    "\non activate enable-stop\non activate delay " + Milliseconds(round) +
                    "\non notify delay " + Milliseconds(round) + "\n");
        test::Service service(host);
        ASSERT_EQ(service.Start(), static_cast<DWORD>(ERROR_SUCCESS));
        EXPECT_TRUE(StopOnceAllowed(service));
        CheckEnd(host, service);
        EXPECT_EQ(service.Status().dwWin32ExitCode, 0U);
    });
}

TEST(ScmRaces, ForcedStopBesideStartAndStop_EndsStopped) {
    PlayRounds(Plan, [](RaceRound& round) {
        const test::HostFolder host;
        host.Script(
            "record-status\non load register\non activate enable-stop\n"
            "on activate detached-thread call give-up\nroutine give-up delay " +
            Milliseconds(round) + "\nroutine give-up interrupt\non activate delay " +
            Milliseconds(round) + "\non notify delay " + Milliseconds(round) + "\n");
        test::Service service(host);
        ASSERT_EQ(service.Start(), static_cast<DWORD>(ERROR_SUCCESS));
        ::Sleep(round.Below(LongestStepMs));
        const bool stopped = StopOnceAllowed(service);
        CheckEnd(host, service);
        if (!stopped) {
            EXPECT_EQ(service.Status().dwWin32ExitCode, FatalAppExit);
        }
    });
}

}  // namespace
