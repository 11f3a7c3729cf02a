#include "dev-controller/components.h"

#include <algorithm>
#include <string>

namespace dev_controller {
namespace {

constexpr DWORD StopLimit = 10000;
constexpr DWORD HeartbeatPause = 1000;
constexpr DWORD WorkerPause = 1500;
constexpr DWORD ChatterPause = 10;
constexpr std::uint32_t JobsPerFlush = 4;
constexpr std::uint32_t PrimesPerJob = 20000;

/// Work for the processor: counts the primes from `first` to `first + PrimesPerJob - 1`.
std::uint32_t CountPrimes(std::uint32_t first) {
    std::uint32_t primes = 0;
    for (std::uint32_t number = std::max(first, 2U); number < first + PrimesPerJob; ++number) {
        bool prime = true;
        for (std::uint32_t divisor = 2; divisor * divisor <= number && prime; ++divisor) {
            prime = number % divisor != 0;
        }
        primes += prime ? 1 : 0;
    }
    return primes;
}

/// A unique line of the requested length.
std::wstring ChatterLine(std::uint32_t thread, std::uint32_t line, std::uint32_t length) {
    std::wstring text = L"thread " + std::to_wstring(thread) + L" line " + std::to_wstring(line);
    text.resize(length, L'.');
    return text;
}

}  // namespace

Components::Components(HostLink& host, std::optional<Chatter> chatter)
    : host_(host), chatter_(chatter), stop_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

DWORD Components::Start() {
    const DWORD heartbeatError = threads_.Start([this] { Heartbeat(); });
    const DWORD workerError = threads_.Start([this] { Worker(); });
    DWORD error = heartbeatError != 0 ? heartbeatError : workerError;
    for (std::uint32_t number = 1; chatter_ && number <= chatter_->threads; ++number) {
        const DWORD chatterError = threads_.Start([this, number] { Chat(number); });
        error = error != 0 ? error : chatterError;
    }
    return error;
}

bool Components::Stop() {
    SetEvent(stop_.Get());
    return threads_.Join(StopLimit);
}

bool Components::StoppedWithin(DWORD milliseconds) const {
    return WaitForSingleObject(stop_.Get(), milliseconds) != WAIT_TIMEOUT;
}

void Components::Heartbeat() {
    constexpr const wchar_t* Name = L"heartbeat";
    host_.Log(Level::Trace, Name, L"started");
    std::uint32_t beats = 0;
    while (!StoppedWithin(HeartbeatPause)) {
        ++beats;
        host_.Log(Level::Trace, Name, L"beat " + std::to_wstring(beats));
    }
    host_.Log(Level::Trace, Name, L"stopped after " + std::to_wstring(beats) + L" beats");
}

void Components::Worker() {
    constexpr const wchar_t* Name = L"worker";
    host_.Log(Level::Trace, Name, L"started");
    std::uint32_t jobs = 0;
    while (!StoppedWithin(WorkerPause)) {
        // Starts again from the beginning, so that a run of days doesn't overflow.
        const std::uint32_t first = jobs % 1000 * PrimesPerJob;
        const std::uint32_t primes = CountPrimes(first);
        ++jobs;
        host_.Log(Level::Trace, Name,
                  L"job " + std::to_wstring(jobs) + L": " + std::to_wstring(primes) +
                      L" primes from " + std::to_wstring(first) + L" to " +
                      std::to_wstring(first + PrimesPerJob - 1));
        if (jobs % JobsPerFlush == 0) {
            host_.FlushLog();
            host_.Log(Level::Trace, Name, L"log flushed");
        }
    }
    host_.Log(Level::Trace, Name, L"stopped after " + std::to_wstring(jobs) + L" jobs");
}

void Components::Chat(std::uint32_t number) {
    constexpr const wchar_t* Name = L"chatter";
    const Chatter& chatter = *chatter_;
    const std::uint64_t limit = chatter.lines == 0 ? ~std::uint64_t{0} : chatter.lines;
    const ULONGLONG start = GetTickCount64();
    std::uint64_t lines = 0;
    bool stopped = false;
    while (!stopped && lines < limit) {
        const std::uint64_t elapsed = GetTickCount64() - start;
        const std::uint64_t due =
            chatter.rate == 0 ? lines + 1 : std::min(limit, elapsed * chatter.rate / 1000);
        for (; lines < due; ++lines) {
            const auto line = static_cast<std::uint32_t>(lines + 1);
            host_.Log(Level::Trace, Name, ChatterLine(number, line, chatter.length));
        }
        stopped = StoppedWithin(chatter.rate == 0 ? 0 : ChatterPause);
    }
    const ULONGLONG elapsed = GetTickCount64() - start;
    host_.Log(Level::Trace, Name,
              L"thread " + std::to_wstring(number) + L" wrote " + std::to_wstring(lines) +
                  L" lines in " + std::to_wstring(elapsed) + L" ms");
}

}  // namespace dev_controller
