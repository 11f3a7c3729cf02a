// The tool chain's run-time library makes an event for each thread that uses its locks, the lock
// behind a static variable in a function among them. The replacement of `CreateEventA` has such a
// variable of its own, so a main thread that met it first would ask for itself without end. A
// program that hooks the platform and has this file gets both ready in the right order.

#ifdef __MINGW32__

#include <pthread.h>

#include "tests/support/platform_hooks.h"

extern "C" decltype(&::CreateEventA) __imp_CreateEventA;

namespace {

/// Puts the platform's own function back before the run-time library's callback needs it.
void NTAPI BeforeRunTime(void* /*module*/, DWORD reason, void* /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) {
        __imp_CreateEventA = reinterpret_cast<decltype(&::CreateEventA)>(reinterpret_cast<void*>(
            ::GetProcAddress(::GetModuleHandleA("kernel32"), "CreateEventA")));
    }
}

/// The lowest number that is free for programs: before every other object of this program.
__attribute__((constructor(101))) void AfterRunTime() {
    static_cast<void>(::pthread_self());
    ::CloseHandle(test::CreateEventAHook::Real(nullptr, TRUE, FALSE, nullptr));
    __imp_CreateEventA = &test::CreateEventAHook::Enter;
}

}  // namespace

// The callbacks run in the order of their sections' names; the run-time library's is in XLF.
__attribute__((section(".CRT$XLE"), used)) PIMAGE_TLS_CALLBACK beforeRunTime = BeforeRunTime;

#endif
