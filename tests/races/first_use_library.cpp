// A library with a logger of its own. Whoever loads it anew finds one that nobody has used yet.

#include <atomic>

#include "framework/logger/logger.h"

namespace {

constexpr unsigned MostCalls = 64;

std::atomic<unsigned> calls;
std::atomic<const void*> sections[MostCalls];

/// Remembers which lock is made, and lets other threads go on in the middle of it.
void WINAPI NotedInitialize(CRITICAL_SECTION* section) {
    constexpr int TurnsGivenUp = 20;
    using Function = void(WINAPI*)(CRITICAL_SECTION*);
    const auto real = reinterpret_cast<Function>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleA("kernel32"), "InitializeCriticalSection")));
    real(section);
    const unsigned number = calls++;
    if (number < MostCalls) {
        sections[number] = section;
    }
    for (int turn = 0; turn < TurnsGivenUp; ++turn) {
        ::SwitchToThread();
    }
}

}  // namespace

extern "C" {

// The library's own calls go through this pointer; see tests/support/platform_hooks.h.
decltype(&::InitializeCriticalSection) __imp_InitializeCriticalSection = &NotedInitialize;

/// The one logger.
__declspec(dllexport) const void* FirstUse() {
    return &framework::Logger::Instance();
}

/// How many locks have been made inside of the one logger.
__declspec(dllexport) unsigned LocksMade() {
    const auto* const begin = static_cast<const char*>(FirstUse());
    unsigned made = 0;
    for (unsigned number = 0; number < calls && number < MostCalls; ++number) {
        const auto* const section = static_cast<const char*>(sections[number].load());
        if (section >= begin && section < begin + sizeof(framework::Logger)) {
            ++made;
        }
    }
    return made;
}
}
