#include "tests/races/lock_delay.h"

// The program's own calls go through the linker's pointer to the imported function. The run-time
// library brings that pointer with it, so here the linker replaces it (`--wrap`).
#ifdef _MSC_VER
#define REPLACED_ACQUIRE __imp_AcquireSRWLockExclusive
#else
#define REPLACED_ACQUIRE __wrap___imp_AcquireSRWLockExclusive
#endif

namespace test {
namespace {

using Acquire = void(WINAPI*)(SRWLOCK*);

constexpr std::uint32_t LongestMicroseconds = 60;

constinit std::atomic<RaceRound*> current{nullptr};
constinit std::atomic<Acquire> real{nullptr};

void WINAPI DelayedAcquire(SRWLOCK* lock) {
    // Not a static of this function: the lock behind one can need this function itself.
    Acquire acquire = real.load();
    if (acquire == nullptr) {
        acquire = reinterpret_cast<Acquire>(reinterpret_cast<void*>(
            ::GetProcAddress(::GetModuleHandleA("kernel32"), "AcquireSRWLockExclusive")));
        real.store(acquire);
    }
    RaceRound* const round = current.load();
    if (round != nullptr) {
        round->Jitter(LongestMicroseconds).Pass();
    }
    acquire(lock);
}

}  // namespace

LockDelay::LockDelay(RaceRound& round) {
    current = &round;
}

LockDelay::~LockDelay() {
    current = nullptr;
}

}  // namespace test

extern "C" {
decltype(&::AcquireSRWLockExclusive) REPLACED_ACQUIRE = &test::DelayedAcquire;
}
