#include "tests/races/report_order.h"

#include <tuple>

namespace test {
namespace {

constexpr DWORD StopWaitHint = 20000;

bool IsPending(DWORD state) {
    return state == SERVICE_START_PENDING || state == SERVICE_STOP_PENDING;
}

/// A start has one order, a stop can come at any time, and no state returns to an earlier one.
bool MayFollow(DWORD before, DWORD state) {
    switch (state) {
        case SERVICE_START_PENDING:
            return before == SERVICE_STOPPED;
        case SERVICE_RUNNING:
            // Last, because a forced stop can be reported between the two reports of a start.
            return before == SERVICE_START_PENDING || before == SERVICE_STOPPED;
        case SERVICE_STOP_PENDING:
            return before != SERVICE_START_PENDING;
        default:
            return state == SERVICE_STOPPED;
    }
}

bool FieldsFitState(const SERVICE_STATUS& report) {
    const DWORD hint = report.dwCurrentState == SERVICE_STOP_PENDING ? StopWaitHint : 0;
    return report.dwServiceType == SERVICE_WIN32_OWN_PROCESS && report.dwWaitHint == hint &&
           report.dwServiceSpecificExitCode == 0 &&
           (report.dwWin32ExitCode == 0 || report.dwCurrentState == SERVICE_STOPPED);
}

auto Fields(const SERVICE_STATUS& report) {
    return std::tie(report.dwServiceType, report.dwCurrentState, report.dwControlsAccepted,
                    report.dwWin32ExitCode, report.dwServiceSpecificExitCode, report.dwCheckPoint,
                    report.dwWaitHint);
}

/// The stop permission repeats the record with only its own bit added.
bool RepeatsWithStopAllowed(const SERVICE_STATUS& before, const SERVICE_STATUS& report) {
    SERVICE_STATUS allowed = before;
    allowed.dwControlsAccepted |= SERVICE_ACCEPT_STOP;
    return Fields(allowed) == Fields(report);
}

}  // namespace

std::string BreachOfOrder(const SERVICE_STATUS& before, const SERVICE_STATUS& report) {
    if ((before.dwControlsAccepted & ~report.dwControlsAccepted) != 0) {
        return "a control that was accepted is no longer";
    }
    if (RepeatsWithStopAllowed(before, report)) {
        return "";
    }
    if (!MayFollow(before.dwCurrentState, report.dwCurrentState)) {
        return "a state that can't follow";
    }
    if (!FieldsFitState(report)) {
        return "fields that don't belong to the state";
    }
    const bool isProgress =
        IsPending(report.dwCurrentState) && report.dwCurrentState == before.dwCurrentState;
    if (report.dwCheckPoint != (isProgress ? before.dwCheckPoint + 1 : 0)) {
        return "a checkpoint out of order";
    }
    return "";
}

}  // namespace test
