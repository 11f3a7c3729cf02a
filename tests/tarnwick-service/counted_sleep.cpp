#include "tests/tarnwick-service/counted_sleep.h"

#include <gtest/gtest.h>

namespace test {

CountedSleep::CountedSleep(DWORD expectedMs)
    : hook_([this, expectedMs](DWORD lengthMs) {
          // The run-time library gives up a turn in this way; the product never asks for 0.
          if (lengthMs == 0) {
              SleepHook::Real(0);
              return;
          }
          EXPECT_EQ(lengthMs, expectedMs);
          const int number = ++count_;
          if (onSleep_) {
              onSleep_(number);
          }
          // Another thread that is ready gets its turn, as it would in a real sleep.
          SleepHook::Real(0);
      }) {}

}  // namespace test
