/// Many rounds of a race, each with different delays. All delays of a case derive from one printed
/// seed: `TARNWICK_SEED` repeats a run, `TARNWICK_ROUND` starts it at a later round,
/// `TARNWICK_LONG_TESTS=1` runs many more rounds.
///
///     test::PlayRounds({.rounds = 300, .longRounds = 10000}, [](test::RaceRound& round) {
///         test::RunTogether(round, {[] { First(); }, [] { Second(); }});
///     });
#ifndef TESTS_RACES_ROUNDS_H
#define TESTS_RACES_ROUNDS_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "framework/system/platform.h"

namespace test {

/// A delay, as precise as the clock, that leaves the processor to other threads.
class Delay {
  public:
    explicit Delay(std::uint32_t microseconds) : microseconds_(microseconds) {}
    void Pass() const;

  private:
    std::uint32_t microseconds_;
};

/// The random decisions of one round. The same seed and number give the same decisions in call
/// order.
class RaceRound {
  public:
    RaceRound(std::uint32_t seed, std::uint32_t number);

    [[nodiscard]] std::uint32_t Seed() const noexcept { return seed_; }
    [[nodiscard]] std::uint32_t Number() const noexcept { return number_; }

    /// 0 to `limit` - 1. Only on the round's own thread, like `DrawDelay`.
    [[nodiscard]] std::uint32_t Below(std::uint32_t limit);
    /// Often 0, at most `longest` microseconds.
    [[nodiscard]] Delay DrawDelay(std::uint32_t longest = 1000);
    /// The same for any thread, for use inside a replaced platform call. The call order is that of
    /// the threads.
    [[nodiscard]] Delay Jitter(std::uint32_t longest = 200) noexcept;

    /// The text to print if the round hangs, during the guard's lifetime. Called on another thread.
    class HangReport {
      public:
        HangReport(RaceRound& round, std::function<std::string()> tell);
        ~HangReport();
        HangReport(const HangReport&) = delete;
        HangReport& operator=(const HangReport&) = delete;

      private:
        RaceRound& round_;
    };
    [[nodiscard]] std::string TellHang();

  private:
    std::uint32_t seed_;
    std::uint32_t number_;
    std::mt19937 random_;
    std::atomic<std::uint32_t> jitters_{0};
    std::mutex lock_;
    std::function<std::string()> tell_;  ///< guarded by lock_
};

struct RacePlan {
    std::uint32_t rounds;
    std::uint32_t longRounds;
    DWORD roundLimitMs = 60000;
};

/// Plays until all rounds are over or one has failed. If a round exceeds its limit, prints all that
/// is known of it and ends the process with a failure.
void PlayRounds(const RacePlan& plan, const std::function<void(RaceRound&)>& play);

/// Runs each routine on its own thread, all released together and then delayed by a random time,
/// and waits for them to end.
void RunTogether(RaceRound& round, const std::vector<std::function<void()>>& routines);

}  // namespace test

#endif  // TESTS_RACES_ROUNDS_H
