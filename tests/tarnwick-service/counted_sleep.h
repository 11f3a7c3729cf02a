#ifndef TESTS_TARNWICK_SERVICE_COUNTED_SLEEP_H
#define TESTS_TARNWICK_SERVICE_COUNTED_SLEEP_H

#include <atomic>
#include <functional>

#include "tests/support/platform_hooks.h"

namespace test {

/// Replaces `Sleep` by counting: no time passes. Fails the test on another length than the expected
/// one.
class CountedSleep {
  public:
    explicit CountedSleep(DWORD expectedMs);

    /// Called inside each sleep with its number, from 1. Set before the first thread.
    void OnSleep(std::function<void(int)> action) { onSleep_ = std::move(action); }
    [[nodiscard]] int Count() const { return count_; }

  private:
    std::atomic<int> count_{0};
    std::function<void(int)> onSleep_;
    ScopedHook<SleepHook> hook_;
};

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_COUNTED_SLEEP_H
