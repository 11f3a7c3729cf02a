#ifndef TOOLS_SERVICE_WATCH_MANAGED_SERVICE_H
#define TOOLS_SERVICE_WATCH_MANAGED_SERVICE_H

#include <optional>
#include <string>

#include "tools/shared/service_manager.h"

namespace service_watch {

using tools::ServiceHandle;

/// One name in the database of the Service Control Manager. Errors are Win32 codes, 0 for success.
/// Thread-safe except `Register` and `Remove`.
class ManagedService {
  public:
    explicit ManagedService(std::wstring name);

    /// 0, or the error if the manager couldn't be opened.
    [[nodiscard]] DWORD ManagerError() const noexcept { return managerError_; }

    /// Registers `image` as a service in its own process, started on demand. Quotes the path, so
    /// that a blank doesn't end the program's name.
    [[nodiscard]] DWORD Register(const std::wstring& image);

    [[nodiscard]] DWORD Start() const;

    /// Sends the stop. May take as long as the service takes to stop.
    [[nodiscard]] DWORD Stop() const;

    [[nodiscard]] std::optional<SERVICE_STATUS_PROCESS> Query() const;

    /// Removes the service and waits until its name is free. Succeeds if it isn't registered. First
    /// terminates a running process, which nothing could stop later.
    [[nodiscard]] DWORD Remove();

  private:
    [[nodiscard]] bool OpenIfRegistered();
    void EndProcess() const;
    [[nodiscard]] DWORD WaitUntilNameIsFree() const;

    std::wstring name_;
    ServiceHandle manager_;
    DWORD managerError_ = 0;
    ServiceHandle service_;
};

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_MANAGED_SERVICE_H
