/// Log lines of framework/system. They go to a sink, so this layer doesn't depend on the logger.
#ifndef FRAMEWORK_SYSTEM_TRACE_H
#define FRAMEWORK_SYSTEM_TRACE_H

#include <cstdarg>
#include <cstdint>

#include "framework/system/wide_format.h"

namespace framework {

/// Levels of these lines. The values are the logger's level bits.
inline constexpr std::uint32_t ErrorLevel = 1;
inline constexpr std::uint32_t TraceLevel = 4;

/// Receives the lines; `level` is one of the above.
using TraceSink = void (*)(std::uint32_t level, const wchar_t* format, std::va_list args);

/// Sets the sink; null drops all lines. The logger sets it when it is configured. Lines before that
/// are dropped, like all other log lines. Not thread-safe.
void SetTraceSink(TraceSink sink) noexcept;

/// `SystemTrace` without the compile-time check of `format` against the arguments.
void SystemTraceUnchecked(std::uint32_t level, const wchar_t* format, ...);

/// Passes one line to the sink.
template <class... Args>
void SystemTrace(std::uint32_t level, FormatFor<Args...> format, Args... args) {
    SystemTraceUnchecked(level, format.Text(), args...);
}

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_TRACE_H
