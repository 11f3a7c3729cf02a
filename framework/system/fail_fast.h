#ifndef FRAMEWORK_SYSTEM_FAIL_FAST_H
#define FRAMEWORK_SYSTEM_FAIL_FAST_H

namespace framework {

/// Terminates the process with exit code 0xC0000409, as Visual C++'s run-time library does for an
/// invalid parameter. Runs no exception filter and no exit handler, and logs nothing.
///
/// MinGW-w64's run-time library returns an error instead, so callers that must not continue call
/// this function.
[[noreturn]] void FailFastInvalidParameter() noexcept;

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_FAIL_FAST_H
