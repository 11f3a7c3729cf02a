/// The service in the database of the Service Control Manager. Errors are Win32 codes, 0 for
/// success. One thread at a time for one handle: Wine serialises the calls on a handle.
#ifndef TOOLS_SERVICE_TOOL_SERVICE_H
#define TOOLS_SERVICE_TOOL_SERVICE_H

#include <optional>
#include <string>
#include <vector>

#include "framework/system/unique_handle.h"

namespace service_tool {

struct ServiceHandleTraits {
    using Type = SC_HANDLE;
    static Type Invalid() noexcept { return nullptr; }
    static void Close(Type handle) noexcept { ::CloseServiceHandle(handle); }
};
using ServiceHandle = framework::UniqueHandle<ServiceHandleTraits>;

/// Null with the thread's last error: ERROR_SERVICE_DOES_NOT_EXIST if it isn't registered.
[[nodiscard]] ServiceHandle OpenRegistered(DWORD access);

/// Registers the service of `executable`: own process, started with the system, path in quotes.
[[nodiscard]] DWORD CreateRegistration(const std::wstring& executable);

/// Registers another executable for the next start. A service that runs isn't touched.
[[nodiscard]] DWORD MoveRegistration(const std::wstring& executable);

/// Whether the service is deleted but its name isn't free yet, as somebody still has it open.
/// False without the right to change the service.
[[nodiscard]] bool IsMarkedForDeletion();

struct Registration {
    std::wstring commandLine;
    DWORD type = 0;
    DWORD startType = 0;
};
/// Nothing if it isn't registered.
[[nodiscard]] std::optional<Registration> ReadRegistration();

[[nodiscard]] std::optional<SERVICE_STATUS_PROCESS> ReadStatus();

[[nodiscard]] DWORD ReadDescription(std::wstring& text);
[[nodiscard]] DWORD WriteDescription(const std::wstring& text);

/// What the manager does after a failure. Every call gives ERROR_INVALID_LEVEL on a manager that
/// has no recovery actions, as Wine's.
struct Recovery {
    DWORD resetSeconds = 0;
    std::vector<SC_ACTION> actions;
};
[[nodiscard]] bool operator==(const Recovery& one, const Recovery& other);
[[nodiscard]] DWORD ReadRecovery(Recovery& recovery);
[[nodiscard]] DWORD WriteRecovery(const Recovery& recovery);

/// Whether a stop that ends with an error counts as a failure too.
[[nodiscard]] DWORD ReadRecoveryFlag(bool& on);
[[nodiscard]] DWORD WriteRecoveryFlag(bool on);

/// "RUNNING" and so on.
[[nodiscard]] std::wstring StateName(DWORD state);

/// "error 5: Access is denied."
[[nodiscard]] std::wstring ErrorText(DWORD error);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_SERVICE_H
