#include "tests/fuzz/watchdog.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace fuzz {

Watchdog::Watchdog(std::string inputFile)
    : inputFile_(std::move(inputFile)), thread_([this] { Watch(); }) {}

Watchdog::~Watchdog() {
    {
        const std::lock_guard<std::mutex> guard(lock_);
        over_ = true;
    }
    change_.notify_one();
    thread_.join();
}

void Watchdog::Watch() {
    std::unique_lock<std::mutex> guard(lock_);
    for (std::uint64_t before = inputs_;; before = inputs_) {
        if (change_.wait_for(guard, std::chrono::seconds(LimitSeconds), [this] { return over_; })) {
            return;
        }
        if (inputs_ == before) {
            std::printf("one input has taken longer than %d s; it stands in %s\n", LimitSeconds,
                        inputFile_.c_str());
            std::fflush(stdout);
            std::_Exit(1);
        }
    }
}

}  // namespace fuzz
