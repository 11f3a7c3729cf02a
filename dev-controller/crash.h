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
    Privileged,      ///< executes an instruction of the operating system's
    Breakpoint,      ///< runs into a breakpoint without a debugger
    Cpp,             ///< throws a C++ exception that nobody catches
    Raise,           ///< raises `code`
    HeapCorruption,  ///< raises what the platform's heap raises when it finds itself broken
    StackOverflow,   ///< recurses until the stack is used up
    FailFast,        ///< asks the platform to end the process without any filter
    Handled,         ///< raises and handles `count` exceptions; the only kind that returns
};

struct CrashRequest {
    CrashKind kind = CrashKind::Read;
    std::uint32_t code =
        0;  ///< `Raise`: the code. `Handled`: 0 throws C++ exceptions, else the code.
    std::uint32_t count = 0;   ///< `Handled` only
    bool continuable = false;  ///< `Raise` only
};

/// Does what is asked on the calling thread. Must not be called from a function that is noexcept,
/// because an exception that has to reach the process's filter would end there instead.
void Crash(const CrashRequest& request);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_CRASH_H
