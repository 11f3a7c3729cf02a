#ifndef TOOLS_SERVICE_TOOL_STATUS_H
#define TOOLS_SERVICE_TOOL_STATUS_H

#include "tools/service-tool/place.h"

namespace service_tool {

/// Prints version, state, process, last start, last end with its exit code, newest dump and free
/// space, one per line. Times are in UTC, as in the log. Unreadable values are printed as unknown.
void PrintStatus(const Place& place);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_STATUS_H
