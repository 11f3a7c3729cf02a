#ifndef FRAMEWORK_EXCEPTION_CRASH_TRACE_H
#define FRAMEWORK_EXCEPTION_CRASH_TRACE_H

#include <cstdint>

#include "framework/logger/internal_trace.h"

namespace framework {

/// Whether a log line, and an exception out of it, would find memory.
[[nodiscard]] bool HasMemoryForALine() noexcept;

/// Logs one line of the crash path, as `InternalTrace` does. Any thread. A line for which there is
/// no memory is lost, without notice: the crash path goes on to the dump.
template <class... Args>
void CrashTrace(std::uint32_t level, FormatFor<Args...> format, Args... args) noexcept {
    // Asked first: on a thread that has never thrown, throwing allocates too, and the run-time
    // library ends the process with code 3 if it can't.
    if (!HasMemoryForALine()) {
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
