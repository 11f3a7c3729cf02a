#include "tests/tarnwick-service/counted_sleep.h"

#include <gtest/gtest.h>

namespace test {

CountedSleep::CountedSleep(DWORD expectedMs)
    : hook_([this, expectedMs](DWORD lengthMs) {
          // The run-time library yields in this way; the product never passes 0.
          if (lengthMs == 0) {
              SleepHook::Real(0);
              return;
          }
          EXPECT_EQ(lengthMs, expectedMs);
          const int number = ++count_;
          if (onSleep_) {
              onSleep_(number);
          }
          // Another ready thread runs now, as it would in a real sleep.
          SleepHook::Real(0);
      }) {}

}  // namespace test
