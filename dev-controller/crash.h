#ifndef DEV_CONTROLLER_CRASH_H
#define DEV_CONTROLLER_CRASH_H

#include <cstdint>

namespace dev_controller {

enum class CrashKind {
    Read,            ///< reads an address that is not mapped
    Write,           ///< writes to an address that is not mapped
    Execute,         ///< calls into a page that holds data
    Guard,           ///< reads a guard page
    Misaligned,      ///< uses an aligned vector instruction on an address that isn't aligned
    Divide,          ///< divides an integer by zero
    Overflow,        ///< divides the least integer by -1
    Illegal,         ///< executes an undefined instruction
    Privileged,      ///< executes a privileged instruction
    Breakpoint,      ///< hits a breakpoint without a debugger
    Cpp,             ///< throws a C++ exception that isn't caught
    Raise,           ///< raises `code`
    HeapCorruption,  ///< raises the exception of a corrupted heap
    StackOverflow,   ///< recurses until the stack overflows
    FailFast,        ///< terminates the process without any filter
    Handled,         ///< raises and handles `count` exceptions; the only kind that returns
};

struct CrashRequest {
    CrashKind kind = CrashKind::Read;
    std::uint32_t code =
        0;  ///< `Raise`: the code. `Handled`: 0 throws C++ exceptions, else the code.
    std::uint32_t count = 0;   ///< `Handled` only
    bool continuable = false;  ///< `Raise` only
};

/// Crashes on the calling thread. Must not be called within a `noexcept` function, where the
/// exception would terminate the process before it reaches the exception filter.
void Crash(const CrashRequest& request);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_CRASH_H
