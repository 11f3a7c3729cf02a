#ifndef TOOLS_QUILLON_LOG_RECORD_FILTER_H
#define TOOLS_QUILLON_LOG_RECORD_FILTER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/quillon-log/pattern.h"
#include "tools/quillon-log/record.h"
#include "tools/quillon-log/time_point.h"

namespace quillon_log {

/// How severe a level is: E 0, W 1, T 2, V 3. Takes a letter or a name ("error"), ignoring case.
[[nodiscard]] std::optional<int> LevelRank(std::wstring_view level);

/// Which records are shown. Every condition must hold.
struct RecordFilter {
    std::optional<int> leastLevel;         ///< this rank and more severe ones
    std::vector<std::wstring> components;  ///< any of them, ignoring case; empty: all
    std::optional<TimePoint> since;        ///< from this time on
    std::optional<TimePoint> until;        ///< before this time
    std::vector<std::wstring> texts;       ///< in capitals: any of them somewhere in the message
    std::vector<Pattern> patterns;         ///< or any of these
    bool isInverted = false;               ///< instead, none of the texts and patterns

    /// Whether the record is in the time asked for. One without a time is if none is asked for.
    [[nodiscard]] bool IsInTime(const Record& record) const;
    /// Whether the other conditions hold. A record without a level passes if none is asked for.
    [[nodiscard]] bool Matches(const Record& record) const;
};

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_RECORD_FILTER_H
