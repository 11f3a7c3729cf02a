#ifndef TOOLS_QUILLON_LOG_LOG_NAME_H
#define TOOLS_QUILLON_LOG_LOG_NAME_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/quillon-log/time_point.h"

namespace quillon_log {

/// The parts of a log file's name: "quillon-20261120-183005-123.7.log.gz".
struct LogName {
    std::wstring prefix;
    TimePoint start{};         ///< of the process
    std::uint32_t number = 0;  ///< of the file within the run
    bool compressed = false;
};

/// Nothing for a name that no log file has.
[[nodiscard]] std::optional<LogName> ParseLogName(std::wstring_view fileName);

/// The name of a log without ".gz".
[[nodiscard]] std::wstring PlainName(std::wstring_view prefix, TimePoint start,
                                     std::uint32_t number);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_LOG_NAME_H
