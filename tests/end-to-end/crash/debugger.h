/// A debugger that handles nothing and records the exceptions that it gets.
#ifndef TESTS_END_TO_END_CRASH_DEBUGGER_H
#define TESTS_END_TO_END_CRASH_DEBUGGER_H

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <vector>

#include "framework/system/platform.h"

namespace test {

struct DebuggedException {
    std::uint32_t code = 0;
    bool firstChance = false;
    DWORD thread = 0;

    bool operator==(const DebuggedException&) const = default;
};
std::ostream& operator<<(std::ostream& out, const DebuggedException& exception);

struct DebuggedRun {
    /// In order, without the breakpoints that the platform itself sets at the start.
    std::vector<DebuggedException> exceptions;
    std::uint32_t exitCode = 0;
};

/// Debugs the one process that this thread debugs until that process ends. Call it on the thread
/// that started the process for debugging or attached to it. Throws if no event arrives within the
/// limit.
///
/// `attached` is for a process that was attached to. It is called once all its threads are stopped.
/// Every breakpoint then counts as the platform's own; otherwise only the first one does.
[[nodiscard]] DebuggedRun DebugToTheEnd(const std::function<void()>& attached = nullptr,
                                        DWORD limitMs = 30000);

}  // namespace test

#endif  // TESTS_END_TO_END_CRASH_DEBUGGER_H
