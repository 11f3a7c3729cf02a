/// Calls a function in another process, to deliver console events and service controls that the
/// platform sends only at a logoff or shutdown.
#ifndef TESTS_END_TO_END_SUPPORT_REMOTE_CALL_H
#define TESTS_END_TO_END_SUPPORT_REMOTE_CALL_H

#include <cstdint>

#include "framework/system/unique_handle.h"

namespace test {

/// Starts a thread in `process` at `address`, a function with one 32-bit parameter.
[[nodiscard]] framework::KernelHandle StartRemoteCall(HANDLE process, std::uint64_t address,
                                                      std::uint32_t argument);

/// The same, and waits for its end. Returns the function's result. Throws after the limit.
std::uint32_t CallRemotely(HANDLE process, std::uint64_t address, std::uint32_t argument,
                           DWORD limitMs = 30000);

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_REMOTE_CALL_H
