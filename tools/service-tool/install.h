#ifndef TOOLS_SERVICE_TOOL_INSTALL_H
#define TOOLS_SERVICE_TOOL_INSTALL_H

#include "tools/service-tool/place.h"
#include "tools/service-tool/report.h"

namespace service_tool {

/// Makes every missing part of the installation and prints a line for each part. With `dryRun` only
/// prints the changes. Never starts or stops the service.
[[nodiscard]] ExitCode Install(const Place& place, bool dryRun);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_INSTALL_H
