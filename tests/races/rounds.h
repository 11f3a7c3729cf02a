/// Many rounds of one race, each with delays of its own. All delays of a case come from one number,
/// which is printed: `TARNWICK_SEED` repeats a run, `TARNWICK_ROUND` begins it at a later round.
/// `TARNWICK_LONG_TESTS=1` plays many more rounds.
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

/// A time to let pass, at the precision of the clock and with the processor left to others.
class Delay {
  public:
    explicit Delay(std::uint32_t microseconds) : microseconds_(microseconds) {}
    void Pass() const;

  private:
    std::uint32_t microseconds_;
};

/// What chance decides in one round. The same seed and number give the same decisions, in the order
/// in which they are asked for.
class RaceRound {
  public:
    RaceRound(std::uint32_t seed, std::uint32_t number);

    [[nodiscard]] std::uint32_t Seed() const noexcept { return seed_; }
    [[nodiscard]] std::uint32_t Number() const noexcept { return number_; }

    /// 0 to `limit` - 1. On the round's own thread, like `DrawDelay`.
    [[nodiscard]] std::uint32_t Below(std::uint32_t limit);
    /// Often none at all, at most `longest` microseconds.
    [[nodiscard]] Delay DrawDelay(std::uint32_t longest = 1000);
    /// The same on any thread, for the inside of a replaced platform call: the order of asking is
    /// that of the threads.
    [[nodiscard]] Delay Jitter(std::uint32_t longest = 200) noexcept;

    /// What to print if the round hangs, for as long as the guard lives. Called on another thread.
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

/// Plays until all rounds are over or one has failed. A round that takes longer than its limit ends
/// the process with a failure, after all that is known of it has been printed.
void PlayRounds(const RacePlan& plan, const std::function<void(RaceRound&)>& play);

/// Runs each routine on a thread of its own, all released together and then held back by a delay
/// each, and waits for their ends.
void RunTogether(RaceRound& round, const std::vector<std::function<void()>>& routines);

}  // namespace test

#endif  // TESTS_RACES_ROUNDS_H
