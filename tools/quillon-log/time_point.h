#ifndef TOOLS_QUILLON_LOG_TIME_POINT_H
#define TOOLS_QUILLON_LOG_TIME_POINT_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace quillon_log {

/// A time in UTC, to the millisecond.
using TimePoint = std::chrono::sys_time<std::chrono::milliseconds>;

/// The clock by which times are shown and typed.
enum class Clock { Utc, Local };

/// Reads "YYYYMMDD-hhmmss-mmm", the form in records and file names.
[[nodiscard]] std::optional<TimePoint> ParseStamp(std::wstring_view text);

/// Reads a time as people type it; `TimeForms` lists the forms. A time without an offset is by
/// `clock`. `now` is the present time.
[[nodiscard]] std::optional<TimePoint> ParseTime(std::wstring_view text, TimePoint now,
                                                 Clock clock = Clock::Utc);

/// The forms that `ParseTime` takes, for messages.
extern const wchar_t* const TimeForms;

/// Appends "2026-11-20 18:30:05.123" with `between` in the place of the blank. `offset` is added
/// to the time first.
void AppendTime(std::wstring& text, TimePoint time, wchar_t between,
                std::chrono::minutes offset = {});

/// Appends "20261120-183005-123".
void AppendStamp(std::wstring& text, TimePoint time);

/// What local time is ahead of UTC at `time`.
[[nodiscard]] std::chrono::minutes LocalOffset(TimePoint time);

/// The present time.
[[nodiscard]] TimePoint CurrentTime();

/// A time of the platform: 100-nanosecond ticks since 1601.
[[nodiscard]] TimePoint FromFileTime(unsigned long low, unsigned long high);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_TIME_POINT_H
