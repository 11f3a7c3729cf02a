#ifndef TOOLS_SERVICE_TOOL_UNINSTALL_H
#define TOOLS_SERVICE_TOOL_UNINSTALL_H

#include "tools/service-tool/options.h"
#include "tools/service-tool/place.h"
#include "tools/service-tool/report.h"

namespace service_tool {

/// Stops and removes the service, whatever its executable, its settings and its event source; with
/// `options.removeLogs` also the data folder. Keeps the program files. If the service can't be
/// stopped, removes nothing.
[[nodiscard]] ExitCode Uninstall(const Place& place, const Options& options);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_UNINSTALL_H
