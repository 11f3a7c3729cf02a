// A library with its own logger. Each load starts with an unused one.

#include <atomic>

#include "framework/logger/logger.h"

namespace {

constexpr unsigned MostCalls = 64;

std::atomic<unsigned> calls;
std::atomic<const void*> sections[MostCalls];

/// Records the lock being created, and lets other threads run meanwhile.
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

// The library's own calls use this pointer; see tests/support/platform_hooks.h.
decltype(&::InitializeCriticalSection) __imp_InitializeCriticalSection = &NotedInitialize;

/// The one logger.
__declspec(dllexport) const void* FirstUse() {
    return &framework::Logger::Instance();
}

/// The number of locks that were created inside the logger.
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
