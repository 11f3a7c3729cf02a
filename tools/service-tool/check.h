#ifndef TOOLS_SERVICE_TOOL_CHECK_H
#define TOOLS_SERVICE_TOOL_CHECK_H

#include "tools/service-tool/place.h"
#include "tools/service-tool/report.h"

namespace service_tool {

/// Compares the installation with what `Install` makes, part by part, and shows the status. Changes
/// nothing and needs no administrator.
[[nodiscard]] ExitCode Check(const Place& place);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_CHECK_H
