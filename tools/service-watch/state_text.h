#ifndef TOOLS_SERVICE_WATCH_STATE_TEXT_H
#define TOOLS_SERVICE_WATCH_STATE_TEXT_H

#include <string>

#include "framework/system/platform.h"

namespace service_watch {

/// "START_PENDING" and so on; the number for a state that has no name.
[[nodiscard]] std::string StateName(DWORD state);

/// State, what the service accepts, and what else its report says, for one line.
[[nodiscard]] std::string DescribeStatus(const SERVICE_STATUS_PROCESS& status);

/// Whether the two say the same of the service.
[[nodiscard]] bool SameReport(const SERVICE_STATUS_PROCESS& one,
                              const SERVICE_STATUS_PROCESS& other) noexcept;

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_STATE_TEXT_H
