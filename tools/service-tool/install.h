#ifndef TOOLS_SERVICE_TOOL_INSTALL_H
#define TOOLS_SERVICE_TOOL_INSTALL_H

#include "tools/service-tool/place.h"
#include "tools/service-tool/report.h"

namespace service_tool {

/// Makes every part of the installation that is missing, and prints a line for each part. With
/// `dryRun` it prints the changes instead. Never starts or stops the service.
[[nodiscard]] ExitCode Install(const Place& place, bool dryRun);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_INSTALL_H
