/// Records the lines of the system layer, with their levels.
#ifndef TESTS_FRAMEWORK_SYSTEM_TRACE_RECORDER_H
#define TESTS_FRAMEWORK_SYSTEM_TRACE_RECORDER_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "framework/system/locks.h"

namespace test {

/// The trace sink during its lifetime. Only one at a time. Any thread may trace; to see all lines
/// of a thread, wait for its end first.
class TraceRecorder {
  public:
    TraceRecorder();
    ~TraceRecorder();
    TraceRecorder(const TraceRecorder&) = delete;
    TraceRecorder& operator=(const TraceRecorder&) = delete;

    /// The lines so far, each as its level, a blank and the whole text: "4 text".
    [[nodiscard]] std::vector<std::wstring> Lines() const;

  private:
    static void Record(std::uint32_t level, const wchar_t* format, std::va_list args);

    mutable framework::CriticalSection lock_;
    std::vector<std::wstring> lines_;  // guarded by lock_
};

}  // namespace test

#endif  // TESTS_FRAMEWORK_SYSTEM_TRACE_RECORDER_H
