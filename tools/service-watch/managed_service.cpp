#include "tools/service-watch/managed_service.h"

#include <utility>

namespace service_watch {

namespace {

constexpr DWORD ProcessEndLimit = 10000;  // milliseconds
constexpr DWORD NameFreeLimit = 10000;    // milliseconds
constexpr DWORD NameFreePause = 20;       // milliseconds

DWORD ErrorUnless(BOOL success) noexcept {
    return success ? 0 : ::GetLastError();
}

}  // namespace

ManagedService::ManagedService(std::wstring name)
    : name_(std::move(name)), manager_(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)) {
    if (!manager_) {
        managerError_ = ::GetLastError();
    }
}

DWORD ManagedService::Register(const std::wstring& image) {
    const std::wstring quoted = L"\"" + image + L"\"";
    service_.Reset(::CreateServiceW(manager_.Get(), name_.c_str(), name_.c_str(),
                                    SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                                    SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, quoted.c_str(),
                                    nullptr, nullptr, nullptr, nullptr, nullptr));
    return service_ ? 0 : ::GetLastError();
}

DWORD ManagedService::Start() const {
    return ErrorUnless(::StartServiceW(service_.Get(), 0, nullptr));
}

DWORD ManagedService::Stop() const {
    SERVICE_STATUS status{};
    return ErrorUnless(::ControlService(service_.Get(), SERVICE_CONTROL_STOP, &status));
}

std::optional<SERVICE_STATUS_PROCESS> ManagedService::Query() const {
    return tools::QueryStatus(service_);
}

DWORD ManagedService::Remove() {
    if (!service_ && !OpenIfRegistered()) {
        const DWORD error = ::GetLastError();
        return error == ERROR_SERVICE_DOES_NOT_EXIST ? 0 : error;
    }
    EndProcess();
    const DWORD error = ErrorUnless(::DeleteService(service_.Get()));
    service_.Reset();
    if (error != 0 && error != ERROR_SERVICE_MARKED_FOR_DELETE) {
        return error;
    }
    return WaitUntilNameIsFree();
}

bool ManagedService::OpenIfRegistered() {
    service_.Reset(::OpenServiceW(manager_.Get(), name_.c_str(), SERVICE_ALL_ACCESS));
    return static_cast<bool>(service_);
}

void ManagedService::EndProcess() const {
    const auto status = Query();
    if (!status || status->dwProcessId == 0 || status->dwCurrentState == SERVICE_STOPPED) {
        return;
    }
    const framework::KernelHandle process(
        ::OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, status->dwProcessId));
    if (process && ::TerminateProcess(process.Get(), ERROR_PROCESS_ABORTED)) {
        ::WaitForSingleObject(process.Get(), ProcessEndLimit);
    }
}

/// The manager keeps the name until the last handle to the service, in any process, is closed. No
/// event reports this, so the function polls.
DWORD ManagedService::WaitUntilNameIsFree() const {
    const ULONGLONG begin = ::GetTickCount64();
    while (true) {
        const ServiceHandle service(
            ::OpenServiceW(manager_.Get(), name_.c_str(), SERVICE_QUERY_STATUS));
        if (!service) {
            return ::GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST ? 0 : ::GetLastError();
        }
        if (::GetTickCount64() - begin > NameFreeLimit) {
            return ERROR_SERVICE_MARKED_FOR_DELETE;
        }
        ::Sleep(NameFreePause);
    }
}

}  // namespace service_watch
