#include "tarnwick-service/filter_frame.h"

#include "framework/system/platform.h"

#if defined(__GNUC__) && !defined(__clang__)

namespace tarnwick {

void CallOnFilterFrame(void (*call)(const void* argument), const void* argument) {
    call(argument);
}

}  // namespace tarnwick

#else

// In ntdll; the platform's headers don't declare it.
extern "C" __declspec(dllimport) LONG NTAPI NtRaiseException(EXCEPTION_RECORD* record,
                                                             CONTEXT* context, BOOLEAN firstChance);

namespace tarnwick {
namespace {

/// What the platform's frame at the end of each stack does.
LONG EndAsUnhandled(EXCEPTION_POINTERS* pointers) {
    const LONG verdict = ::UnhandledExceptionFilter(pointers);
    if (verdict != EXCEPTION_CONTINUE_EXECUTION) {
        // The second chance: for the debugger, and without one the end of the process.
        ::NtRaiseException(pointers->ExceptionRecord, pointers->ContextRecord, FALSE);
    }
    return verdict;
}

}  // namespace

void CallOnFilterFrame(void (*call)(const void* argument), const void* argument) {
    __try {
        call(argument);
    } __except (EndAsUnhandled(GetExceptionInformation())) {
    }
}

}  // namespace tarnwick

#endif
