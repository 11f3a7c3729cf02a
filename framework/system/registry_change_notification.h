/// A thread that watches one `REG_DWORD` value below `HKEY_LOCAL_MACHINE`.
#ifndef FRAMEWORK_SYSTEM_REGISTRY_CHANGE_NOTIFICATION_H
#define FRAMEWORK_SYSTEM_REGISTRY_CHANGE_NOTIFICATION_H

#include <cstdint>
#include <string>

#include "framework/system/platform.h"

namespace framework {

/// The callback's argument. Valid only during the call.
struct RegChangeNotification {
    std::uintptr_t Context;      ///< `RegChangeNotifyParams::CallbackContext`
    std::uint32_t CurrentValue;  ///< the value just read, or the baseline if the read fails
    std::uint32_t ReservedZero;  ///< always 0
    bool* ContinueWatching;      ///< initially false; set it to true to be called again
};

/// Called on the watching thread. Return 0 for success; any other value ends the thread with that
/// exit code. If the callback asks to be called again while the value still differs from the
/// baseline, the next call follows immediately.
using RegChangeNotificationCallback = std::uint32_t (*)(RegChangeNotification* notification);

struct RegChangeNotifyParams {
    std::wstring KeyPath;
    std::wstring ValueName;
    std::uint32_t BaselineValue;  ///< means "unchanged"; the thread never updates it
    HANDLE StopEvent;             ///< owned by the caller; ends the thread when signaled
    RegChangeNotificationCallback Callback;
    std::uintptr_t CallbackContext;
};

/// Starts the thread with a copy of `params`. Returns 0 and sets `threadHandle`, which the caller
/// owns; on failure returns the Win32 error, logs it as an error and leaves `threadHandle`
/// unchanged. To end the thread, signal `StopEvent`. The copy is never freed, and each further
/// iteration leaks one open key.
[[nodiscard]] std::uint32_t CreateRegChangeNotifyThread(RegChangeNotifyParams params,
                                                        HANDLE& threadHandle);

/// The thread routine. `params` is the heap copy, a `RegChangeNotifyParams*`. Returns 0 or the
/// error that ended the thread.
DWORD WINAPI RegChangeNotify(void* params);

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_REGISTRY_CHANGE_NOTIFICATION_H
