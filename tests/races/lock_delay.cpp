#include "tests/races/lock_delay.h"

namespace test {
namespace {

using Acquire = void(WINAPI*)(SRWLOCK*);

constexpr std::uint32_t LongestMicroseconds = 60;

constinit std::atomic<RaceRound*> current{nullptr};
constinit std::atomic<std::uint32_t> count{0};
constinit std::atomic<Acquire> real{nullptr};

void WINAPI DelayedAcquire(SRWLOCK* lock) {
    // Not a local static of this function, because its lock can need this function.
    Acquire acquire = real.load();
    if (acquire == nullptr) {
        acquire = reinterpret_cast<Acquire>(reinterpret_cast<void*>(
            ::GetProcAddress(::GetModuleHandleA("kernel32"), "AcquireSRWLockExclusive")));
        real.store(acquire);
    }
    RaceRound* const round = current.load();
    if (round != nullptr) {
        ++count;
        round->Jitter(LongestMicroseconds).Pass();
    }
    acquire(lock);
}

}  // namespace

LockDelay::LockDelay(RaceRound& round) {
    count = 0;
    current = &round;
}

LockDelay::~LockDelay() {
    current = nullptr;
}

std::uint32_t LockDelay::Count() const {
    return count;
}

}  // namespace test

// Visual C++ calls the function through its import pointer. MinGW's headers declare it without one,
// and the run-time library has its own way to it, so there the linker replaces each call
// (`--wrap`).
extern "C" {
#ifdef _MSC_VER
decltype(&::AcquireSRWLockExclusive) __imp_AcquireSRWLockExclusive = &test::DelayedAcquire;
#else
void WINAPI __wrap_AcquireSRWLockExclusive(SRWLOCK* lock);
void WINAPI __wrap_AcquireSRWLockExclusive(SRWLOCK* lock) {
    test::DelayedAcquire(lock);
}
#endif
}
