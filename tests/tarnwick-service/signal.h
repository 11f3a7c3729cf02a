#ifndef TESTS_TARNWICK_SERVICE_SIGNAL_H
#define TESTS_TARNWICK_SERVICE_SIGNAL_H

#include "framework/system/unique_handle.h"
#include "tests/support/platform_hooks.h"

namespace test {

/// A one-way flag between threads. It doesn't use the replaced platform calls, so it works inside a
/// replacement.
class Signal {
  public:
    Signal() : event_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

    void Set() { SetEventHook::Real(event_.Get()); }

    /// False if the flag wasn't set in time.
    [[nodiscard]] bool Wait(DWORD limitMs = 20000) const {
        return WaitForSingleObjectHook::Real(event_.Get(), limitMs) == WAIT_OBJECT_0;
    }

  private:
    framework::KernelHandle event_;
};

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_SIGNAL_H
