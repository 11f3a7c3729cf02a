#ifndef TOOLS_SERVICE_WATCH_STATE_TEXT_H
#define TOOLS_SERVICE_WATCH_STATE_TEXT_H

#include <string>

#include "framework/system/platform.h"

namespace service_watch {

/// One line: the state, the accepted controls, and the report's other values.
[[nodiscard]] std::string DescribeStatus(const SERVICE_STATUS_PROCESS& status);

/// Whether the two reports are equal.
[[nodiscard]] bool SameReport(const SERVICE_STATUS_PROCESS& one,
                              const SERVICE_STATUS_PROCESS& other) noexcept;

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_STATE_TEXT_H
