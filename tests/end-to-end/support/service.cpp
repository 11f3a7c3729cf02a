#include "tests/end-to-end/support/service.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <system_error>

#include "tests/end-to-end/support/log_files.h"
#include "tests/support/unique_name.h"

namespace test {
namespace {

[[noreturn]] void Fail(const std::string& call) {
    const DWORD error = ::GetLastError();
    throw std::system_error(
        static_cast<int>(error), std::system_category(),
        call + (error == ERROR_ACCESS_DENIED ? " (run the tests as administrator)" : ""));
}

/// On Windows, administrators have only read access to the process of a LocalSystem service. With
/// this privilege, which they have but which is disabled by default, they get full access.
void SwitchOnDebugPrivilege() {
    HANDLE handle = nullptr;
    if (::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &handle) == FALSE) {
        Fail("OpenProcessToken");
    }
    const framework::KernelHandle token(handle);
    TOKEN_PRIVILEGES privileges = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
    if (::LookupPrivilegeValueW(nullptr, L"SeDebugPrivilege", &privileges.Privileges[0].Luid) ==
            FALSE ||
        ::AdjustTokenPrivileges(token.Get(), FALSE, &privileges, 0, nullptr, nullptr) == FALSE) {
        Fail("AdjustTokenPrivileges");
    }
}

}  // namespace

Service::Service(const HostFolder& host)
    : executable_(host.Executable()),
      manager_(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)) {
    if (!manager_) {
        Fail("OpenSCManagerW");
    }
    SwitchOnDebugPrivilege();
    const std::wstring name = UniqueName(L"TarnwickTest");
    const std::wstring commandLine = L'"' + executable_.wstring() + L'"';
    service_.Reset(::CreateServiceW(manager_.Get(), name.c_str(), name.c_str(), SERVICE_ALL_ACCESS,
                                    SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
                                    SERVICE_ERROR_NORMAL, commandLine.c_str(), nullptr, nullptr,
                                    nullptr, nullptr, nullptr));
    if (!service_) {
        Fail("CreateServiceW");
    }
}

Service::~Service() {
    constexpr DWORD Limit = 10000;
    if (process_ && ::WaitForSingleObject(process_.Get(), 0) == WAIT_TIMEOUT) {
        ::TerminateProcess(process_.Get(), 1);
        ::WaitForSingleObject(process_.Get(), Limit);
    }
    ::DeleteService(service_.Get());
    for (const std::filesystem::path& file : Logs()) {
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
    }
}

DWORD Service::Start(const std::vector<std::wstring>& arguments) {
    std::vector<const wchar_t*> pointers;
    for (const std::wstring& argument : arguments) {
        pointers.push_back(argument.c_str());
    }
    const bool started = ::StartServiceW(service_.Get(), static_cast<DWORD>(pointers.size()),
                                         pointers.data()) != FALSE;
    const DWORD error = started ? ERROR_SUCCESS : ::GetLastError();
    const DWORD processId = Status().dwProcessId;
    if (processId != 0) {
        processId_ = processId;
        process_.Reset(::OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId));
        // The process may have ended meanwhile.
        if (!process_ && ::GetLastError() == ERROR_ACCESS_DENIED) {
            Fail("OpenProcess of the service");
        }
    }
    return error;
}

DWORD Service::Control(DWORD control) {
    SERVICE_STATUS status = {};
    return ::ControlService(service_.Get(), control, &status) != FALSE ? ERROR_SUCCESS
                                                                       : ::GetLastError();
}

SERVICE_STATUS_PROCESS Service::Status() const {
    SERVICE_STATUS_PROCESS status = {};
    DWORD size = 0;
    if (::QueryServiceStatusEx(service_.Get(), SC_STATUS_PROCESS_INFO,
                               reinterpret_cast<BYTE*>(&status), sizeof(status), &size) == FALSE) {
        Fail("QueryServiceStatusEx");
    }
    return status;
}

SERVICE_STATUS_PROCESS Service::WaitFor(DWORD state, DWORD limitMs) const {
    // Polled, because Wine's SCM doesn't notify about changes.
    constexpr DWORD PollMs = 20;
    const ULONGLONG end = ::GetTickCount64() + limitMs;
    for (;;) {
        const SERVICE_STATUS_PROCESS status = Status();
        if (status.dwCurrentState == state) {
            return status;
        }
        if (::GetTickCount64() > end) {
            throw std::runtime_error("the service is in state " +
                                     std::to_string(status.dwCurrentState) + ", not in " +
                                     std::to_string(state));
        }
        ::Sleep(PollMs);
    }
}

std::uint32_t Service::WaitForExit(DWORD limitMs) const {
    if (::WaitForSingleObject(process_.Get(), limitMs) != WAIT_OBJECT_0) {
        throw std::runtime_error("the service's process didn't end in time");
    }
    DWORD exitCode = 0;
    ::GetExitCodeProcess(process_.Get(), &exitCode);
    return exitCode;
}

std::vector<std::filesystem::path> Service::Logs() const {
    return ServiceLogsOf(executable_);
}

std::vector<std::wstring> Service::OnlyLog() const {
    const std::vector<std::filesystem::path> files = Logs();
    if (files.size() != 1) {
        ADD_FAILURE() << files.size() << " log files of the service instead of one";
        return {};
    }
    return ReadLogRecords(files.front());
}

std::vector<DWORD> StateAndExitCode(const SERVICE_STATUS_PROCESS& status) {
    return {status.dwCurrentState, status.dwWin32ExitCode};
}

}  // namespace test
