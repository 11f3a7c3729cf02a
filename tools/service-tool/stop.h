#ifndef TOOLS_SERVICE_TOOL_STOP_H
#define TOOLS_SERVICE_TOOL_STOP_H

#include <cstdint>
#include <string>

#include "tools/service-tool/place.h"
#include "tools/service-tool/report.h"

namespace service_tool {

/// The result of a stop. `text` and `remedy` are for the administrator.
struct StopResult {
    bool stopped = false;
    std::wstring text;
    std::wstring remedy;
};

/// Stops the service and waits at most `waitSeconds` for the end of its process, and of every other
/// process that runs `executable`. Until then "take no action" replaces the recovery actions, so
/// that a stop with an error or a crash doesn't cause a restart. Ctrl+C is ignored meanwhile.
[[nodiscard]] StopResult StopService(const std::wstring& executable, std::uint32_t waitSeconds);

/// The command `stop`.
[[nodiscard]] ExitCode Stop(const Place& place, std::uint32_t waitSeconds);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_STOP_H
