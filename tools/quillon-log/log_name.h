#ifndef TOOLS_QUILLON_LOG_LOG_NAME_H
#define TOOLS_QUILLON_LOG_LOG_NAME_H

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/quillon-log/time_point.h"

namespace quillon_log {

/// What the name of a log file tells: "quillon-20261120-183005-123.7.log.gz".
struct LogName {
    TimePoint start = 0;       ///< of the run
    std::wstring prefix;       ///< two programs can start in the same millisecond
    std::uint32_t number = 0;  ///< of the file within the run

    /// Order of reading: runs by their start, files of a run by their number.
    // The check takes the zero that the comparison is made of for a pointer.
    // NOLINTNEXTLINE(modernize-use-nullptr)
    auto operator<=>(const LogName&) const = default;
};

struct ParsedName {
    LogName name;
    bool compressed = false;
};

/// Nothing for a name that no log file has.
[[nodiscard]] std::optional<ParsedName> ParseLogName(std::wstring_view fileName);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_LOG_NAME_H
