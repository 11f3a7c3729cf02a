/// Services of the real Service Control Manager, one per object. Every wait has a limit.
#ifndef TESTS_END_TO_END_SUPPORT_SERVICE_H
#define TESTS_END_TO_END_SUPPORT_SERVICE_H

#include <filesystem>
#include <string>
#include <vector>

#include "tests/end-to-end/support/host_folder.h"
#include "tools/shared/service_manager.h"

namespace test {

using tools::ServiceHandle;

/// The host of a folder, registered as a service under a unique name. (The SCM ignores the name
/// with which the host registers its handler, because the service has its own process.)
class Service {
  public:
    explicit Service(const HostFolder& host);
    /// Ends running processes, removes the service and its log files.
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Requests a start; 0 or the Win32 error. Keeps a handle of the process if there is one.
    DWORD Start(const std::vector<std::wstring>& arguments = {});
    /// Sends a control; 0 or the Win32 error.
    DWORD Control(DWORD control);
    [[nodiscard]] SERVICE_STATUS_PROCESS Status() const;
    /// Waits for a state and returns the status. Throws after the limit.
    SERVICE_STATUS_PROCESS WaitFor(DWORD state, DWORD limitMs = 30000) const;

    /// The process of the last start.
    [[nodiscard]] HANDLE Process() const noexcept { return process_.Get(); }
    [[nodiscard]] DWORD ProcessId() const noexcept { return processId_; }
    /// Waits for its end and returns its exit code. Throws after the limit.
    std::uint32_t WaitForExit(DWORD limitMs = 30000) const;

    /// The log files of all starts, oldest first.
    [[nodiscard]] std::vector<std::filesystem::path> Logs() const;
    /// The records of the only log file. Fails the test unless there is exactly one.
    [[nodiscard]] std::vector<std::wstring> OnlyLog() const;

  private:
    std::filesystem::path executable_;
    ServiceHandle manager_;
    ServiceHandle service_;
    framework::KernelHandle process_;
    DWORD processId_ = 0;
};

/// "Stopped with this exit code" and so on, in one comparison.
[[nodiscard]] std::vector<DWORD> StateAndExitCode(const SERVICE_STATUS_PROCESS& status);

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_SERVICE_H
