/// A thread that watches one 32-bit value below `HKEY_LOCAL_MACHINE`.
///
/// Nothing in this program starts one; it is part of the framework for those who build on it.
#ifndef FRAMEWORK_SYSTEM_REGISTRY_CHANGE_NOTIFICATION_H
#define FRAMEWORK_SYSTEM_REGISTRY_CHANGE_NOTIFICATION_H

#include <cstdint>
#include <string>

#include "framework/system/platform.h"

namespace framework {

/// What the callback is told; lives for the one call.
struct RegChangeNotification {
    std::uintptr_t Context;      ///< `RegChangeNotifyParams::CallbackContext`
    std::uint32_t CurrentValue;  ///< the value just read, or the baseline if it can't be read
    std::uint32_t ReservedZero;  ///< always 0
    bool* ContinueWatching;      ///< false at the call; set it to true to be called once more
};

/// Called on the watching thread. 0 means handled; any other value ends the thread with that value
/// as its exit code. A callback that asks for more while the value still differs from the baseline
/// is called again at once.
using RegChangeNotificationCallback = std::uint32_t (*)(RegChangeNotification* notification);

struct RegChangeNotifyParams {
    std::wstring KeyPath;
    std::wstring ValueName;
    std::uint32_t BaselineValue;  ///< counts as unchanged; never updated by the thread
    HANDLE StopEvent;             ///< the caller's; the thread only waits on it
    RegChangeNotificationCallback Callback;
    std::uintptr_t CallbackContext;
};

/// Starts a thread on a copy of `params`. Returns 0 and the thread's handle, which the caller owns,
/// or the Win32 error (logged as an error) and leaves `threadHandle` alone. The caller ends the
/// thread by signalling `StopEvent`. The copy is never freed, and a callback that asks for more
/// pays each time with one key that stays open.
[[nodiscard]] std::uint32_t CreateRegChangeNotifyThread(RegChangeNotifyParams params,
                                                        HANDLE& threadHandle);

/// The thread's routine. `params` is the heap copy, a `RegChangeNotifyParams*`. The result is 0 or
/// the error that ended the thread.
DWORD WINAPI RegChangeNotify(void* params);

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_REGISTRY_CHANGE_NOTIFICATION_H
