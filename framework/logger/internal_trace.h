/// The log call of the framework's own code.
#ifndef FRAMEWORK_LOGGER_INTERNAL_TRACE_H
#define FRAMEWORK_LOGGER_INTERNAL_TRACE_H

#include <cstdarg>
#include <cstdint>

#include "framework/logger/log_levels.h"
#include "framework/system/wide_format.h"

namespace framework {

/// `InternalTrace` without the compile-time check of `format` against the arguments.
void InternalTraceList(std::uint32_t level, const wchar_t* format, std::va_list args);
void InternalTraceUnchecked(std::uint32_t level, const wchar_t* format, ...);

/// Logs one line; `level` is a level bit, 1 for errors, 4 for ordinary trace. Thread-safe.
///
/// The formatted text is used as a format a second time, which is meant. A percent sign from an
/// argument (a path, for example) is then a conversion, but takes no argument; `%%` becomes `%`.
/// The text is formatted even if the level mask drops it.
template <class... Args>
void InternalTrace(std::uint32_t level, FormatFor<Args...> format, Args... args) {
    InternalTraceUnchecked(level, format.Text(), args...);
}

/// Logs one line without allocating and without throwing. A line that would need memory is lost:
/// one of more than 1022 characters or with a percent sign in its finished text, and one that
/// `Logger::LogWithoutMemory` loses. `args` fit the format.
void InternalTraceWithoutMemory(std::uint32_t level, const wchar_t* format, ...) noexcept;

/// The hook for all lines of the framework; calls the default. Both return the result of
/// `Logger::Log`: always true, even if no sink took the line.
bool FrameworkExternalLogCallback(std::uint32_t level, const wchar_t* text);

/// Logs a formatted text. Levels 1, 2 and 4 keep their bit; any other becomes verbose.
bool FrameworkExternalLogCallbackDefault(std::uint32_t level, const wchar_t* text);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_INTERNAL_TRACE_H
