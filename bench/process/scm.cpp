#include "bench/process/scm.h"

#include <stdexcept>

#include "bench/support/measure.h"

namespace bench {
namespace {

constexpr double LimitNs = 60e9;

SERVICE_STATUS_PROCESS Query(SC_HANDLE service) {
    SERVICE_STATUS_PROCESS status = {};
    DWORD needed = 0;
    ::QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                           sizeof(status), &needed);
    return status;
}

/// Polls until `reached` is true, yielding the processor between polls.
template <class Condition>
void Await(SC_HANDLE service, const Condition& reached) {
    const double begin = Now();
    while (!reached(Query(service))) {
        if (Now() - begin > LimitNs) {
            throw std::runtime_error("the service didn't get there in time");
        }
        ::Sleep(1);
    }
}

}  // namespace

Service::Service(const std::wstring& name, const std::filesystem::path& executable)
    : manager_(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)) {
    const std::wstring path = L'"' + executable.wstring() + L'"';
    service_.Reset(::CreateServiceW(manager_.Get(), name.c_str(), name.c_str(), SERVICE_ALL_ACCESS,
                                    SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
                                    SERVICE_ERROR_NORMAL, path.c_str(), nullptr, nullptr, nullptr,
                                    nullptr, nullptr));
    if (!service_) {
        throw std::runtime_error("CreateServiceW failed: " + std::to_string(::GetLastError()));
    }
}

Service::~Service() {
    SERVICE_STATUS ignored = {};
    ::ControlService(service_.Get(), SERVICE_CONTROL_STOP, &ignored);
    ::DeleteService(service_.Get());
}

double Service::TimeStart() {
    const double begin = Now();
    if (::StartServiceW(service_.Get(), 0, nullptr) == FALSE) {
        throw std::runtime_error("StartServiceW failed: " + std::to_string(::GetLastError()));
    }
    Await(service_.Get(), [](const SERVICE_STATUS_PROCESS& status) {
        return status.dwCurrentState == SERVICE_RUNNING;
    });
    const double time = Now() - begin;
    Await(service_.Get(), [](const SERVICE_STATUS_PROCESS& status) {
        return (status.dwControlsAccepted & SERVICE_ACCEPT_STOP) != 0;
    });
    return time;
}

double Service::TimeStop() {
    const framework::KernelHandle process = OpenProcess();
    const double begin = Now();
    SERVICE_STATUS ignored = {};
    if (::ControlService(service_.Get(), SERVICE_CONTROL_STOP, &ignored) == FALSE) {
        throw std::runtime_error("ControlService failed: " + std::to_string(::GetLastError()));
    }
    ::WaitForSingleObject(process.Get(), 60000);
    const double time = Now() - begin;
    Await(service_.Get(), [](const SERVICE_STATUS_PROCESS& status) {
        return status.dwCurrentState == SERVICE_STOPPED;
    });
    return time;
}

framework::KernelHandle Service::OpenProcess() const {
    framework::KernelHandle process(
        ::OpenProcess(PROCESS_ALL_ACCESS, FALSE, Query(service_.Get()).dwProcessId));
    if (!process) {
        throw std::runtime_error("the service has no process");
    }
    return process;
}

}  // namespace bench
