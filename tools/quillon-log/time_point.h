#ifndef TOOLS_QUILLON_LOG_TIME_POINT_H
#define TOOLS_QUILLON_LOG_TIME_POINT_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillon_log {

/// A time in UTC as one number that sorts: YYYYMMDDhhmmssmmm.
using TimePoint = std::uint64_t;

/// Reads "YYYYMMDD-hhmmss-mmm", as it stands in records and file names.
[[nodiscard]] std::optional<TimePoint> ParseStamp(std::wstring_view text);

/// Reads what a person types: "2026-11-20", "2026-11-20 18:30", "2026-11-20T18:30:05" (UTC), an age
/// such as "90s", "15m", "2h" or "7d", "today" or "yesterday". `now` is the present time in UTC.
[[nodiscard]] std::optional<TimePoint> ParseTime(std::wstring_view text, TimePoint now);

/// The present time in UTC.
[[nodiscard]] TimePoint CurrentTime();

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_TIME_POINT_H
