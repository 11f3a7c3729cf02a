/// The framework's own way to the log.
#ifndef FRAMEWORK_LOGGER_INTERNAL_TRACE_H
#define FRAMEWORK_LOGGER_INTERNAL_TRACE_H

#include <cstdarg>
#include <cstdint>

#include "framework/logger/log_levels.h"
#include "framework/system/wide_format.h"

namespace framework {

/// The untyped halves of `InternalTrace`.
void InternalTraceList(std::uint32_t level, const wchar_t* format, std::va_list args);
void InternalTraceUnchecked(std::uint32_t level, const wchar_t* format, ...);

/// Logs one line at a level bit, 1 for errors and 4 for ordinary trace. Any thread.
///
/// The finished text is read as a format once more on its way into the log: a percent sign that an
/// argument brought in (from a path, say) is then taken for a conversion. No conversion reads
/// anything there; `%%` becomes `%`. The text is formatted even when the level mask drops it.
template <class... Args>
void InternalTrace(std::uint32_t level, FormatFor<Args...> format, Args... args) {
    InternalTraceUnchecked(level, format.Text(), args...);
}

/// The hook through which the framework's texts leave it; forwards to the default. The result of
/// both is that of `Logger::Log`: always true, also for a line that reached no sink.
bool FrameworkExternalLogCallback(std::uint32_t level, const wchar_t* text);

/// Logs a finished text. Levels 1, 2 and 4 keep their bit; every other one becomes verbose.
bool FrameworkExternalLogCallbackDefault(std::uint32_t level, const wchar_t* text);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_INTERNAL_TRACE_H
