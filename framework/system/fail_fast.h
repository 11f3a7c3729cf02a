#ifndef FRAMEWORK_SYSTEM_FAIL_FAST_H
#define FRAMEWORK_SYSTEM_FAIL_FAST_H

namespace framework {

/// Ends the process at once with exit code 0xC0000409, the way a run-time library ends one that
/// passed it an invalid parameter: no exception filter, no exit handler, no log line.
///
/// Not every run-time library that this program is linked with ends the process on that path (the
/// one of MinGW-w64 returns from it), so the places that must end do it themselves.
[[noreturn]] void FailFastInvalidParameter() noexcept;

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_FAIL_FAST_H
