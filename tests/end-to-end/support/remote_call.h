/// Calls a function inside another process, for what the platform itself doesn't deliver on demand:
/// the kinds of console events and service controls that only a logoff or a shutdown sends.
#ifndef TESTS_END_TO_END_SUPPORT_REMOTE_CALL_H
#define TESTS_END_TO_END_SUPPORT_REMOTE_CALL_H

#include <cstdint>

#include "framework/system/unique_handle.h"

namespace test {

/// Starts a thread in `process` on the function at `address`, which takes one 32-bit number.
[[nodiscard]] framework::KernelHandle StartRemoteCall(HANDLE process, std::uint64_t address,
                                                      std::uint32_t argument);

/// The same, and waits for its end. Returns what the function returned. Throws after the limit.
std::uint32_t CallRemotely(HANDLE process, std::uint64_t address, std::uint32_t argument,
                           DWORD limitMs = 30000);

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_REMOTE_CALL_H
