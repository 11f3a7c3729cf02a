#include "tools/service-tool/stop.h"

#include <optional>
#include <vector>

#include "framework/system/unique_handle.h"
#include "tools/service-tool/service.h"

namespace service_tool {
namespace {

// In milliseconds.
constexpr DWORD PollPause = 100;
/// The manager handles the end of a process with a delay, and nothing reports when it has.
constexpr DWORD SettleTime = 2000;

/// Prevents restarts during its lifetime. Restores the actions once.
class RecoveryPause {
  public:
    RecoveryPause() {
        if (ReadRecovery(before_) != ERROR_SUCCESS || before_.actions.empty()) {
            return;
        }
        Recovery none = before_;
        for (SC_ACTION& action : none.actions) {
            action.Type = SC_ACTION_NONE;
        }
        error_ = WriteRecovery(none);
        paused_ = error_ == ERROR_SUCCESS;
        // Otherwise Ctrl+C would leave the service without recovery actions.
        ::SetConsoleCtrlHandler(nullptr, TRUE);
    }
    ~RecoveryPause() { static_cast<void>(Restore()); }
    RecoveryPause(const RecoveryPause&) = delete;
    RecoveryPause& operator=(const RecoveryPause&) = delete;

    [[nodiscard]] bool IsPaused() const noexcept { return paused_; }
    [[nodiscard]] DWORD Error() const noexcept { return error_; }

    DWORD Restore() {
        if (!paused_) {
            return ERROR_SUCCESS;
        }
        paused_ = false;
        const DWORD error = WriteRecovery(before_);
        ::SetConsoleCtrlHandler(nullptr, FALSE);
        return error;
    }

  private:
    Recovery before_;
    bool paused_ = false;
    DWORD error_ = ERROR_SUCCESS;
};

bool IsStopped() {
    const auto status = ReadStatus();
    return !status || status->dwCurrentState == SERVICE_STOPPED;
}

DWORD SendStop() {
    const ServiceHandle service = OpenRegistered(SERVICE_STOP);
    SERVICE_STATUS status = {};
    if (!service || !::ControlService(service.Get(), SERVICE_CONTROL_STOP, &status)) {
        return ::GetLastError();
    }
    return ERROR_SUCCESS;
}

/// The service's process according to the manager, if there is one.
class ServiceProcess {
  public:
    ServiceProcess() {
        const auto status = ReadStatus();
        if (!status || status->dwProcessId == 0) {
            return;
        }
        handle_.Reset(::OpenProcess(SYNCHRONIZE, FALSE, status->dwProcessId));
        isGone_ = !handle_ && ::GetLastError() == ERROR_INVALID_PARAMETER;
    }

    /// Wine still shows a service as running after its process has ended.
    [[nodiscard]] bool IsGone() const { return handle_ ? HasEnded() : isGone_; }
    [[nodiscard]] bool HasEnded() const {
        return !handle_ || ::WaitForSingleObject(handle_.Get(), 0) == WAIT_OBJECT_0;
    }

  private:
    framework::KernelHandle handle_;
    bool isGone_ = false;
};

std::wstring ListOf(const std::vector<DWORD>& processes) {
    std::wstring list;
    for (const DWORD id : processes) {
        list += (list.empty() ? L"" : L", ") + std::to_wstring(id);
    }
    return list;
}

/// Empty if the service is stopped and no process runs the executable; else what is still running.
std::wstring StillRunning(const ServiceProcess& process, const std::wstring& executable) {
    if (const std::vector<DWORD> processes = ProcessesOf(executable); !processes.empty()) {
        return L"process " + ListOf(processes) + L" of the executable";
    }
    // A renamed file can still be running.
    return process.IsGone() || (process.HasEnded() && IsStopped()) ? L""
                                                                   : L"the process of the service";
}

StopResult AwaitEnd(const ServiceProcess& process, const std::wstring& executable,
                    std::uint32_t waitSeconds) {
    const ULONGLONG end = ::GetTickCount64() + waitSeconds * 1000ULL;
    while (true) {
        const std::wstring running = StillRunning(process, executable);
        if (running.empty()) {
            return {true, L"service stopped, its process has ended", L""};
        }
        if (::GetTickCount64() >= end) {
            return {false, running + L" still runs after " + std::to_wstring(waitSeconds) + L" s",
                    L"try again with a longer --wait; end what runs in a console with Ctrl+C"};
        }
        ::Sleep(PollPause);
    }
}

StopResult Refused(DWORD error) {
    return {false, L"service does not accept a stop now: " + ErrorText(error),
            L"a component has not allowed it: see the log and try again later, or set the service "
            L"to disabled and restart the machine"};
}

/// The exit code, and whether the service is still stopped.
StopResult Settle(StopResult result, RecoveryPause& pause) {
    if (result.stopped && pause.IsPaused()) {
        ::Sleep(SettleTime);
    }
    const auto status = ReadStatus();
    if (result.stopped && status && status->dwProcessId != 0 &&
        status->dwCurrentState != SERVICE_STOPPED && !ServiceProcess().IsGone()) {
        result = {false, L"service was started again by somebody", L"run this again"};
    } else if (result.stopped && status && status->dwWin32ExitCode != 0) {
        result.text += L"; the stop gave exit code " + ErrorText(status->dwWin32ExitCode);
    }
    if (const DWORD error = pause.Restore(); error != ERROR_SUCCESS) {
        return {false, L"the recovery actions can't be restored: " + ErrorText(error),
                L"see what service-tool check says about the recovery"};
    }
    return result;
}

}  // namespace

StopResult StopService(const std::wstring& executable, std::uint32_t waitSeconds) {
    const ServiceProcess process;
    if (IsStopped() || process.IsGone()) {
        return AwaitEnd(process, executable, waitSeconds);
    }
    RecoveryPause pause;
    if (pause.Error() != ERROR_SUCCESS) {
        return {false, L"the recovery actions can't be changed: " + ErrorText(pause.Error()), L""};
    }
    const DWORD error = SendStop();
    const auto status = ReadStatus();
    // A slow stop fails too; after a refused one the service keeps running.
    if (error != ERROR_SUCCESS && !process.IsGone() && status &&
        status->dwCurrentState == SERVICE_RUNNING) {
        return Settle(Refused(error), pause);
    }
    return Settle(AwaitEnd(process, executable, waitSeconds), pause);
}

ExitCode Stop(const Place& place, std::uint32_t waitSeconds) {
    Print(L"\nStopping " + std::wstring(ServiceName) + L"\n");
    if (!RequireElevation()) {
        return ExitFailure;
    }
    const auto registration = ReadRegistration();
    if (!registration) {
        PrintStep(L"FAILED", L"service is not registered");
        return ExitFailure;
    }
    const std::wstring program = ProgramOf(registration->commandLine);
    const StopResult result =
        StopService(program.empty() ? place.executable : program, waitSeconds);
    PrintStep(result.stopped ? L"done" : L"FAILED", result.text);
    if (!result.remedy.empty()) {
        PrintUnderStep(result.remedy);
    }
    return result.stopped ? ExitSuccess : ExitFailure;
}

}  // namespace service_tool
