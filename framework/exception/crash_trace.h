#ifndef FRAMEWORK_EXCEPTION_CRASH_TRACE_H
#define FRAMEWORK_EXCEPTION_CRASH_TRACE_H

#include <cstdint>

#include "framework/logger/internal_trace.h"

namespace framework {

/// Whether there is memory for throwing an exception out of a log line.
[[nodiscard]] bool HasMemoryToThrow() noexcept;

/// Logs one line of the crash path, as `InternalTrace` does. Any thread. Never throws. A line that
/// needs memory is lost if there is none; a line that needs none is written in any case.
template <class... Args>
void CrashTrace(std::uint32_t level, FormatFor<Args...> format, Args... args) noexcept {
    // On a thread that has never thrown, throwing allocates, and without memory the run-time
    // library ends the process with code 3.
    if (!HasMemoryToThrow()) {
        InternalTraceWithoutMemory(level, format.Text(), args...);
        return;
    }
    try {
        InternalTrace(level, format, args...);
    } catch (...) {
        // The line is lost.
    }
}

}  // namespace framework

#endif  // FRAMEWORK_EXCEPTION_CRASH_TRACE_H
