#ifndef TESTS_FUZZ_WATCHDOG_H
#define TESTS_FUZZ_WATCHDOG_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace fuzz {

/// Ends the process if one input takes longer than `LimitSeconds`, because a hang is an error too.
class Watchdog {
  public:
    static constexpr int LimitSeconds = 30;

    /// The message at the limit names `inputFile`.
    explicit Watchdog(std::string inputFile);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// Called at the start of each input.
    void Mark() noexcept { ++inputs_; }

  private:
    void Watch();

    std::string inputFile_;
    std::atomic<std::uint64_t> inputs_{0};
    std::mutex lock_;
    std::condition_variable change_;
    bool over_ = false;  ///< guarded by lock_
    std::thread thread_;
};

}  // namespace fuzz

#endif  // TESTS_FUZZ_WATCHDOG_H
