#include "tests/tarnwick-service/status_recorder.h"

#include <mutex>

namespace test {

std::string Describe(const SERVICE_STATUS& status) {
    return "state " + std::to_string(status.dwCurrentState) + ", exit code " +
           std::to_string(status.dwWin32ExitCode) + ", hint " + std::to_string(status.dwWaitHint) +
           ", checkpoint " + std::to_string(status.dwCheckPoint) + ", accepted " +
           std::to_string(status.dwControlsAccepted) + ", type " +
           std::to_string(status.dwServiceType) + ", specific " +
           std::to_string(status.dwServiceSpecificExitCode);
}

std::string Describe(const ExpectedReport& report) {
    SERVICE_STATUS status = {};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = report.state;
    status.dwWin32ExitCode = report.exitCode;
    status.dwWaitHint = report.waitHint;
    status.dwCheckPoint = report.checkPoint;
    status.dwControlsAccepted = report.accepted;
    return Describe(status);
}

std::vector<std::string> Describe(const std::vector<ExpectedReport>& reports) {
    std::vector<std::string> texts;
    for (const ExpectedReport& report : reports) {
        texts.push_back(Describe(report));
    }
    return texts;
}

StatusRecorder::StatusRecorder()
    : hook_([this](SERVICE_STATUS_HANDLE handle, SERVICE_STATUS* status) -> BOOL {
          return Take(handle, *status);
      }) {}

BOOL StatusRecorder::Take(SERVICE_STATUS_HANDLE handle, const SERVICE_STATUS& status) {
    {
        const std::lock_guard guard(lock_);
        reports_.push_back(status);
        handles_.push_back(handle);
    }
    if (onReport_) {
        onReport_(status);
    }
    const DWORD error = error_;
    if (error != 0) {
        ::SetLastError(error);
        return FALSE;
    }
    return TRUE;
}

std::vector<std::string> StatusRecorder::Reports() const {
    const std::lock_guard guard(lock_);
    std::vector<std::string> texts;
    for (const SERVICE_STATUS& status : reports_) {
        texts.push_back(Describe(status));
    }
    return texts;
}

std::vector<SERVICE_STATUS_HANDLE> StatusRecorder::Handles() const {
    const std::lock_guard guard(lock_);
    return handles_;
}

SERVICE_STATUS StatusRecorder::Last() const {
    const std::lock_guard guard(lock_);
    return reports_.empty() ? SERVICE_STATUS{} : reports_.back();
}

void StatusRecorder::Clear() {
    const std::lock_guard guard(lock_);
    reports_.clear();
    handles_.clear();
}

}  // namespace test
