#include "tests/races/rounds.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <thread>

#include "framework/system/locks.h"
#include "tests/tarnwick-service/signal.h"

namespace test {
namespace {

constexpr std::uint32_t NoDelayShare = 3;  ///< one in this many delays is zero

std::optional<std::uint32_t> NumberFrom(const char* name) {
    const char* const text = std::getenv(name);
    if (text == nullptr || *text == '\0') {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10));
}

std::string ReplayText(std::uint32_t seed, std::uint32_t round) {
    return "TARNWICK_SEED=" + std::to_string(seed) + " TARNWICK_ROUND=" + std::to_string(round);
}

/// Ends the process if a round takes too long. It uses one thread for all rounds, so it must avoid
/// the replacements of platform calls, even those under waits of the C++ library: a replacement
/// would be removed while that thread is inside.
class Watchdog {
  public:
    explicit Watchdog(DWORD limitMs) : limitMs_(limitMs) { EXPECT_TRUE(begun_.Wait()); }
    ~Watchdog() { over_.Set(); }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    void Begin(RaceRound& round) {
        const std::lock_guard guard(lock_);
        round_ = &round;
        deadline_ = ::GetTickCount64() + limitMs_;
    }
    void End() {
        const std::lock_guard guard(lock_);
        round_ = nullptr;
    }

  private:
    void Watch() {
        constexpr DWORD PollMs = 500;
        begun_.Set();
        while (!over_.Wait(PollMs)) {
            const std::lock_guard guard(lock_);
            if (round_ != nullptr && ::GetTickCount64() > deadline_) {
                GiveUp(*round_);
            }
        }
    }

    // The report of the round may need the lock on which the round hangs.
    [[noreturn]] void GiveUp(RaceRound& round) const {
        constexpr DWORD TellLimitMs = 5000;
        std::fprintf(stderr, "The round hangs after %lu ms; to repeat it: %s\n", limitMs_,
                     ReplayText(round.Seed(), round.Number()).c_str());
        std::fflush(stderr);
        CreateThreadHook::Real(nullptr, 0, Tell, &round, 0, nullptr);
        ::SleepEx(TellLimitMs, FALSE);
        std::fputs("Nothing more can be told: its locks are held.\n", stderr);
        std::fflush(stderr);
        ::TerminateProcess(::GetCurrentProcess(), 1);
        std::abort();
    }

    static DWORD WINAPI Tell(void* round) {
        std::fprintf(stderr, "%s\n", static_cast<RaceRound*>(round)->TellHang().c_str());
        std::fflush(stderr);
        ::TerminateProcess(::GetCurrentProcess(), 1);
        return 0;
    }

    const DWORD limitMs_;
    Signal begun_;
    Signal over_;
    framework::CriticalSection lock_;
    // Guarded by lock_.
    RaceRound* round_ = nullptr;
    ULONGLONG deadline_ = 0;
    std::jthread thread_{[this] { Watch(); }};
};

}  // namespace

void Delay::Pass() const {
    LARGE_INTEGER frequency = {};
    LARGE_INTEGER start = {};
    LARGE_INTEGER now = {};
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&start);
    now = start;
    while ((now.QuadPart - start.QuadPart) * 1000000 < microseconds_ * frequency.QuadPart) {
        ::SwitchToThread();
        ::QueryPerformanceCounter(&now);
    }
}

RaceRound::RaceRound(std::uint32_t seed, std::uint32_t number) : seed_(seed), number_(number) {
    std::seed_seq sequence{seed, number};
    random_.seed(sequence);
}

std::uint32_t RaceRound::Below(std::uint32_t limit) {
    return std::uniform_int_distribution<std::uint32_t>(0, limit - 1)(random_);
}

Delay RaceRound::DrawDelay(std::uint32_t longest) {
    return Delay(Below(NoDelayShare) == 0 ? 0 : Below(longest + 1));
}

Delay RaceRound::Jitter(std::uint32_t longest) noexcept {
    // The last steps of a well-known mixing function, so that neighbouring seeds give unrelated
    // numbers.
    std::uint32_t mixed = seed_ + number_ * 2654435761U + ++jitters_ * 40503U;
    mixed = (mixed ^ (mixed >> 16)) * 0x85EBCA6BU;
    mixed = (mixed ^ (mixed >> 13)) * 0xC2B2AE35U;
    mixed ^= mixed >> 16;
    return Delay(mixed % NoDelayShare == 0 ? 0 : (mixed / NoDelayShare) % (longest + 1));
}

RaceRound::HangReport::HangReport(RaceRound& round, std::function<std::string()> tell)
    : round_(round) {
    const std::lock_guard guard(round_.lock_);
    round_.tell_ = std::move(tell);
}

RaceRound::HangReport::~HangReport() {
    const std::lock_guard guard(round_.lock_);
    round_.tell_ = nullptr;
}

std::string RaceRound::TellHang() {
    const std::lock_guard guard(lock_);
    return tell_ ? tell_() : "The round has nothing to tell.";
}

void PlayRounds(const RacePlan& plan, const std::function<void(RaceRound&)>& play) {
    const std::uint32_t seed = NumberFrom("TARNWICK_SEED").value_or(std::random_device{}());
    const std::uint32_t first = NumberFrom("TARNWICK_ROUND").value_or(0);
    const bool isLong = NumberFrom("TARNWICK_LONG_TESTS").value_or(0) != 0;
    const std::uint32_t rounds = isLong ? plan.longRounds : plan.rounds;
    std::printf("TARNWICK_SEED=%u, %u rounds\n", static_cast<unsigned>(seed),
                static_cast<unsigned>(rounds));
    std::fflush(stdout);
    Watchdog watchdog(plan.roundLimitMs);
    for (std::uint32_t number = first; number < first + rounds; ++number) {
        RaceRound round(seed, number);
        watchdog.Begin(round);
        play(round);
        watchdog.End();
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "to repeat this round: " << ReplayText(seed, number);
            return;
        }
    }
}

void RunTogether(RaceRound& round, const std::vector<std::function<void()>>& routines) {
    Signal start;
    std::vector<std::jthread> threads;
    for (const std::function<void()>& routine : routines) {
        threads.emplace_back([&start, &routine, delay = round.DrawDelay()] {
            EXPECT_TRUE(start.Wait());
            delay.Pass();
            routine();
        });
    }
    start.Set();
}

}  // namespace test
