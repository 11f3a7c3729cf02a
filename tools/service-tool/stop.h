#ifndef TOOLS_SERVICE_TOOL_STOP_H
#define TOOLS_SERVICE_TOOL_STOP_H

#include <cstdint>
#include <string>

#include "tools/service-tool/place.h"
#include "tools/service-tool/report.h"

namespace service_tool {

/// The end of a stop. `text` and `remedy` are for the administrator.
struct StopResult {
    bool stopped = false;
    std::wstring text;
    std::wstring remedy;
};

/// Stops the service and waits for the end of its process, and of every other process that runs
/// from `executable`, for at most `waitSeconds`. While it stops its recovery actions are replaced
/// by "take no action", so that a stop that ends with an error or a crash isn't followed by a
/// restart; then they are restored. Ctrl+C has no effect meanwhile.
[[nodiscard]] StopResult StopService(const std::wstring& executable, std::uint32_t waitSeconds);

/// The command `stop`.
[[nodiscard]] ExitCode Stop(const Place& place, std::uint32_t waitSeconds);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_STOP_H
