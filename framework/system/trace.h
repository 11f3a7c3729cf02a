/// The way in which this layer's own lines reach a log, without knowing of one.
#ifndef FRAMEWORK_SYSTEM_TRACE_H
#define FRAMEWORK_SYSTEM_TRACE_H

#include <cstdarg>
#include <cstdint>

#include "framework/system/wide_format.h"

namespace framework {

/// The levels of this layer's lines: the logger's bits for errors and for ordinary trace.
inline constexpr std::uint32_t ErrorLevel = 1;
inline constexpr std::uint32_t TraceLevel = 4;

/// Takes the lines of this layer; `level` is one of the above.
using TraceSink = void (*)(std::uint32_t level, const wchar_t* format, std::va_list args);

/// Sets where the lines go; null drops them. The logger sets it when it is configured, so that
/// what happens before is lost as every other line of that time is. Not while another thread may
/// trace.
void SetTraceSink(TraceSink sink) noexcept;

/// The untyped half of `SystemTrace`.
void SystemTraceUnchecked(std::uint32_t level, const wchar_t* format, ...);

/// Hands one line to the sink.
template <class... Args>
void SystemTrace(std::uint32_t level, FormatFor<Args...> format, Args... args) {
    SystemTraceUnchecked(level, format.Text(), args...);
}

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_TRACE_H
