/// What all clients of the Service Control Manager need.
#ifndef TOOLS_SHARED_SERVICE_MANAGER_H
#define TOOLS_SHARED_SERVICE_MANAGER_H

#include <optional>
#include <string>

#include "framework/system/unique_handle.h"

namespace tools {

/// Handles of the manager and of services.
struct ServiceHandleTraits {
    using Type = SC_HANDLE;
    static Type Invalid() noexcept { return nullptr; }
    static void Close(Type handle) noexcept { ::CloseServiceHandle(handle); }
};
using ServiceHandle = framework::UniqueHandle<ServiceHandleTraits>;

/// Nothing if the query fails; the last error has the reason.
[[nodiscard]] std::optional<SERVICE_STATUS_PROCESS> QueryStatus(const ServiceHandle& service);

/// "START_PENDING" and so on; "state 9" for a state without a name.
[[nodiscard]] std::wstring StateName(DWORD state);

/// "error 5: Access is denied."
[[nodiscard]] std::wstring ErrorText(DWORD error);

}  // namespace tools

#endif  // TOOLS_SHARED_SERVICE_MANAGER_H
