#ifndef TOOLS_QUILLON_LOG_RECORD_FILTER_H
#define TOOLS_QUILLON_LOG_RECORD_FILTER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/quillon-log/record.h"
#include "tools/quillon-log/time_point.h"

namespace quillon_log {

/// How loud a level is: E 0, W 1, T 2, V 3. Takes a letter or a name ("error"), ignoring case.
[[nodiscard]] std::optional<int> LevelRank(std::wstring_view level);

/// Which records are shown. Every condition must hold.
struct RecordFilter {
    std::optional<int> leastLevel;         ///< this rank and louder ones
    std::vector<std::wstring> components;  ///< any of them, ignoring case; empty: all
    std::optional<TimePoint> since;        ///< from this time on
    std::optional<TimePoint> until;        ///< before this time
    std::wstring text;                     ///< somewhere in the message, ignoring case

    /// A record without a time or level of its own passes only if none is asked for.
    [[nodiscard]] bool Passes(const Record& record) const;
};

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_RECORD_FILTER_H
