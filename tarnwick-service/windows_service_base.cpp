#include "tarnwick-service/windows_service_base.h"

#include <cstring>
#include <new>
#include <shared_mutex>
#include <utility>

#include "tarnwick-service/filter_frame.h"

namespace tarnwick {

using framework::LogError;
using framework::LogSite;
using framework::LogTrace;

namespace {

constexpr const wchar_t* File = L"windows_service_base";

const wchar_t* StateName(DWORD state) {
    switch (state) {
        case SERVICE_STOPPED:
            return L"SERVICE_STOPPED";
        case SERVICE_START_PENDING:
            return L"SERVICE_START_PENDING";
        case SERVICE_STOP_PENDING:
            return L"SERVICE_STOP_PENDING";
        case SERVICE_RUNNING:
            return L"SERVICE_RUNNING";
        case SERVICE_CONTINUE_PENDING:
            return L"SERVICE_CONTINUE_PENDING";
        case SERVICE_PAUSE_PENDING:
            return L"SERVICE_PAUSE_PENDING";
        case SERVICE_PAUSED:
            return L"SERVICE_PAUSED";
        default:
            return L"";
    }
}

/// `canStop` goes in as it is, so a true one must be 1.
DWORD AcceptedControls(BYTE canStop, BYTE canShutdown, BYTE canPause) {
    DWORD accepted = canStop;
    if (canShutdown != 0) {
        accepted |= SERVICE_ACCEPT_SHUTDOWN;
    }
    if (canPause != 0) {
        accepted |= SERVICE_ACCEPT_PAUSE_CONTINUE;
    }
    return accepted;
}

}  // namespace

std::shared_ptr<WindowsServiceBase> WindowsServiceBase::instance;
framework::SrwLock WindowsServiceBase::creationLock;

// The accepted controls are the same in every state, pending and stopped ones too: whoever may stop
// the service may ask for it at any time, and the actions cope with it.
WindowsServiceBase::WindowsServiceBase(const wchar_t* name, BYTE canStop, BYTE canShutdown,
                                       BYTE canPause)
    : serviceName(name == nullptr ? L"" : name) {
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = SERVICE_STOPPED;
    status.dwControlsAccepted = AcceptedControls(canStop, canShutdown, canPause);
}

WindowsServiceBase::~WindowsServiceBase() = default;

void* WindowsServiceBase::operator new(std::size_t size) {
    return std::memset(::operator new(size), 0, size);
}

void WindowsServiceBase::operator delete(void* block, std::size_t size) noexcept {
    ::operator delete(block, size);
}

BOOL WindowsServiceBase::Run() {
    SERVICE_TABLE_ENTRYW table[] = {{serviceName.data(), ServiceMain}, {nullptr, nullptr}};
    return ::StartServiceCtrlDispatcherW(table);
}

DWORD WindowsServiceBase::OnStart() {
    LogTrace({File, L"WindowsServiceBase::OnStart"}, L"WindowsServiceBase in OnStart \n");
    return ERROR_SUCCESS;
}

DWORD WindowsServiceBase::OnStop() {
    LogTrace({File, L"WindowsServiceBase::OnStop"}, L"WindowsServiceBase in OnStop \n");
    return ERROR_SUCCESS;
}

DWORD WindowsServiceBase::OnShutdown() {
    LogTrace({File, L"WindowsServiceBase::OnShutdown"}, L"WindowsServiceBase in OnShutdown \n");
    return ERROR_SUCCESS;
}

DWORD WindowsServiceBase::OnPause() {
    LogTrace({File, L"WindowsServiceBase::OnPause"}, L"WindowsServiceBase in OnPause \n");
    return ERROR_SUCCESS;
}

DWORD WindowsServiceBase::OnContinue() {
    LogTrace({File, L"WindowsServiceBase::OnContinue"}, L"WindowsServiceBase in OnContinue \n");
    return ERROR_SUCCESS;
}

std::shared_ptr<WindowsServiceBase> WindowsServiceBase::GetInstance() {
    return instance;
}

void WindowsServiceBase::ResetInstance() {
    // The slot is empty before the object goes: its destruction can take long, and calls back.
    const std::shared_ptr<WindowsServiceBase> last = std::exchange(instance, nullptr);
}

std::shared_ptr<WindowsServiceBase> WindowsServiceBase::GetOrCreateBaseInstance(
    const wchar_t* serviceName, BYTE canStop, BYTE canShutdown, BYTE canPause) {
    return GetOrCreate([&] {
        // Not make_shared, which takes no zero-filled storage.
        return std::shared_ptr<WindowsServiceBase>(
            new WindowsServiceBase(serviceName, canStop, canShutdown, canPause));
    });
}

void WindowsServiceBase::SetServiceStatusSafe(DWORD state, DWORD exitCode, DWORD waitHint) {
    const std::unique_lock guard(statusLock);
    SetServiceStatusUnsafe(state, exitCode, waitHint);
}

void WindowsServiceBase::SetServiceStatusUnsafe(DWORD state, DWORD exitCode, DWORD waitHint) {
    constexpr LogSite Site = {File, L"WindowsServiceBase::SetServiceStatusUnsafe"};
    status.dwWin32ExitCode = exitCode;
    status.dwWaitHint = waitHint;
    const bool isProgress =
        state != SERVICE_RUNNING && state != SERVICE_STOPPED && state == status.dwCurrentState;
    status.dwCheckPoint = isProgress ? status.dwCheckPoint + 1 : 0;
    status.dwCurrentState = state;
    if (::SetServiceStatus(statusHandle, &status) == FALSE) {
        LogFailedReport(Site, ::GetLastError());
    }
    // Also straight after that error: the record has changed, whether or not the SCM knows.
    LogTrace(Site,
             L"WindowsServiceBase->SetServiceStatus: dwCurrentState = %s, dwWin32ExitCode = %lu, "
             L"dwWaitHint = %lu, dwControlsAccepted = %lu, dwCheckPoint = %lu \n",
             StateName(status.dwCurrentState), status.dwWin32ExitCode, status.dwWaitHint,
             status.dwControlsAccepted, status.dwCheckPoint);
}

void WindowsServiceBase::LogFailedReport(const LogSite& site, DWORD error) const {
    LogError(site,
             L"WindowsServiceBase->SetServiceStatus: dwCurrentState = %s, dwWin32ExitCode = %lu, "
             L"dwWaitHint = %lu, dwControlsAccepted = %lu, dwCheckPoint = %lu failed with error "
             L"%lu \n",
             StateName(status.dwCurrentState), status.dwWin32ExitCode, status.dwWaitHint,
             status.dwControlsAccepted, status.dwCheckPoint, error);
}

void WindowsServiceBase::ReportCurrentStatus() {
    const std::shared_lock guard(statusLock);
    ::SetServiceStatus(statusHandle, &status);
}

DWORD WindowsServiceBase::EnableStopFromSCM() {
    constexpr LogSite Site = {File, L"WindowsServiceBase::EnableStopFromSCM"};
    const std::unique_lock guard(statusLock);
    status.dwControlsAccepted |= SERVICE_ACCEPT_STOP;
    if (::SetServiceStatus(statusHandle, &status) == FALSE) {
        const DWORD error = ::GetLastError();
        LogFailedReport(Site, error);
        return error;
    }
    LogTrace(Site, L"WindowsServiceBase->EnableStopFromSCM: SERVICE_ACCEPT_STOP set");
    return ERROR_SUCCESS;
}

void WindowsServiceBase::Pause() {
    LogTrace({File, L"WindowsServiceBase::Pause"},
             L"WindowsServiceBase->Pause() command recieved \n");
}

void WindowsServiceBase::Continue() {
    LogTrace({File, L"WindowsServiceBase::Continue"},
             L"WindowsServiceBase->Continue() command recieved \n");
}

void WINAPI WindowsServiceBase::ServiceMain(DWORD /*argc*/, wchar_t** /*argv*/) {
    CallOnFilterFrame([] { GetInstance()->RegisterAndStart(); });
}

void WindowsServiceBase::RegisterAndStart() {
    statusHandle = ::RegisterServiceCtrlHandlerW(serviceName.c_str(), ServiceControlHandler);
    if (statusHandle == nullptr) {
        LogError({File, L"WindowsServiceBase::ServiceMain"},
                 L"ServiceMain RegisterServiceCtrlHandlerW failed with error %lu \n",
                 ::GetLastError());
        return;
    }
    StartAction();
}

void WINAPI WindowsServiceBase::ServiceControlHandler(DWORD control) {
    CallOnFilterFrame([control] { GetInstance()->HandleControl(control); });
}

void WindowsServiceBase::HandleControl(DWORD control) {
    switch (control) {
        case SERVICE_CONTROL_STOP:
            StopAction();
            break;
        case SERVICE_CONTROL_PAUSE:
            Pause();
            break;
        case SERVICE_CONTROL_CONTINUE:
            Continue();
            break;
        case SERVICE_CONTROL_INTERROGATE:
            ReportCurrentStatus();
            break;
        case SERVICE_CONTROL_SHUTDOWN:
            ShutdownAction();
            break;
        default:
            break;
    }
}

}  // namespace tarnwick
