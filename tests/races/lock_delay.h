#ifndef TESTS_RACES_LOCK_DELAY_H
#define TESTS_RACES_LOCK_DELAY_H

#include <cstdint>

#include "tests/races/rounds.h"

namespace test {

/// While it lives, every thread waits a time of chance before it takes a reader-writer lock
/// exclusively. Whoever lets such a lock go between a look and a deed is found out by it. One at a
/// time.
class LockDelay {
  public:
    explicit LockDelay(RaceRound& round);
    ~LockDelay();
    LockDelay(const LockDelay&) = delete;
    LockDelay& operator=(const LockDelay&) = delete;

    /// How often a lock was taken while it lives.
    [[nodiscard]] std::uint32_t Count() const;
};

}  // namespace test

#endif  // TESTS_RACES_LOCK_DELAY_H
