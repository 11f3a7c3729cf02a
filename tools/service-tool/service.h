/// The service in the database of the Service Control Manager. Errors are Win32 codes, 0 for
/// success.
#ifndef TOOLS_SERVICE_TOOL_SERVICE_H
#define TOOLS_SERVICE_TOOL_SERVICE_H

#include <optional>
#include <string>
#include <vector>

#include "tools/shared/service_manager.h"

namespace service_tool {

using tools::ErrorText;
using tools::ServiceHandle;
using tools::StateName;

/// On failure returns null and sets the last error: ERROR_SERVICE_DOES_NOT_EXIST if not registered.
[[nodiscard]] ServiceHandle OpenRegistered(DWORD access);

/// Registers `executable` as the service: own process, started with the system, quoted path.
[[nodiscard]] DWORD CreateRegistration(const std::wstring& executable);

/// Registers another executable for the next start. A running service isn't affected.
[[nodiscard]] DWORD MoveRegistration(const std::wstring& executable);

/// Whether the service is deleted but its name isn't free yet, because a handle is still open.
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

/// What the manager does after a failure. Every call returns ERROR_INVALID_LEVEL on a manager
/// without recovery actions, such as Wine's.
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

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_SERVICE_H
