#ifndef TESTS_RACES_LOCK_DELAY_H
#define TESTS_RACES_LOCK_DELAY_H

#include <cstdint>

#include "tests/races/rounds.h"

namespace test {

/// During its lifetime every thread waits a random time before it acquires a reader-writer lock
/// exclusively. This exposes code that releases such a lock between a check and an action. Only one
/// instance at a time.
class LockDelay {
  public:
    explicit LockDelay(RaceRound& round);
    ~LockDelay();
    LockDelay(const LockDelay&) = delete;
    LockDelay& operator=(const LockDelay&) = delete;

    /// The number of acquisitions during its lifetime.
    [[nodiscard]] std::uint32_t Count() const;
};

}  // namespace test

#endif  // TESTS_RACES_LOCK_DELAY_H
