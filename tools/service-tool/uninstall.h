#ifndef TOOLS_SERVICE_TOOL_UNINSTALL_H
#define TOOLS_SERVICE_TOOL_UNINSTALL_H

#include "tools/service-tool/options.h"
#include "tools/service-tool/place.h"
#include "tools/service-tool/report.h"

namespace service_tool {

/// Stops and removes the service, wherever it is registered from, its settings and its event
/// source, and with `options.removeLogs` the data folder. The program files stay. If the service
/// can't be stopped nothing is removed.
[[nodiscard]] ExitCode Uninstall(const Place& place, const Options& options);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_UNINSTALL_H
