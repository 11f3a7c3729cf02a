#ifndef TOOLS_SERVICE_WATCH_MANAGED_SERVICE_H
#define TOOLS_SERVICE_WATCH_MANAGED_SERVICE_H

#include <optional>
#include <string>

#include "framework/system/unique_handle.h"

namespace service_watch {

struct ServiceHandleTraits {
    using Type = SC_HANDLE;
    static Type Invalid() noexcept { return nullptr; }
    static void Close(Type handle) noexcept { ::CloseServiceHandle(handle); }
};
using ServiceHandle = framework::UniqueHandle<ServiceHandleTraits>;

/// One name in the database of the Service Control Manager. Errors are Win32 codes, 0 for success.
/// Any thread.
class ManagedService {
  public:
    explicit ManagedService(std::wstring name);

    /// What keeps the manager itself from being used, or 0.
    [[nodiscard]] DWORD ManagerError() const noexcept { return managerError_; }

    /// Registers `image` as a service of its own process, started on demand. The path is quoted,
    /// so that a blank in it doesn't end the program's name.
    [[nodiscard]] DWORD Register(const std::wstring& image);

    [[nodiscard]] DWORD Start() const;

    /// Sends the stop. May last as long as the service's own stop does.
    [[nodiscard]] DWORD Stop() const;

    [[nodiscard]] std::optional<SERVICE_STATUS_PROCESS> Query() const;

    /// Takes the registration away and waits until the name is free. A name that is not registered
    /// is success. A process that still runs is ended first: nothing else could stop it any more.
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
