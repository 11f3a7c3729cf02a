#ifndef TOOLS_SERVICE_TOOL_CHECK_H
#define TOOLS_SERVICE_TOOL_CHECK_H

#include "tools/service-tool/place.h"
#include "tools/service-tool/report.h"

namespace service_tool {

/// Compares each part with what `Install` would make, and prints the status. Changes nothing; needs
/// no administrator rights.
[[nodiscard]] ExitCode Check(const Place& place);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_CHECK_H
