#ifndef TESTS_SUPPORT_FIXED_CLOCK_H
#define TESTS_SUPPORT_FIXED_CLOCK_H

#include "tests/support/platform_hooks.h"

namespace test {

/// Builds a time from its parts; the day of the week isn't used.
[[nodiscard]] inline SYSTEMTIME Moment(WORD year, WORD month, WORD day, WORD hour, WORD minute,
                                       WORD second, WORD millisecond) {
    return {year, month, 0, day, hour, minute, second, millisecond};
}

/// Fixes `GetSystemTime` at one time during its lifetime.
class FixedClock {
  public:
    explicit FixedClock(const SYSTEMTIME& moment)
        : hook_([moment](SYSTEMTIME* now) { *now = moment; }) {}

  private:
    ScopedHook<GetSystemTimeHook> hook_;
};

}  // namespace test

#endif  // TESTS_SUPPORT_FIXED_CLOCK_H
