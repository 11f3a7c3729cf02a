#include "tarnwick-service/filter_frame.h"

#include "framework/system/platform.h"

namespace {

#ifdef __MINGW32__
constexpr DWORD CppException = 0x20474343;  // what GCC's run-time library raises
#else
constexpr DWORD CppException = 0xE06D7363;  // what Visual C++'s run-time library raises
#endif

/// Comes back for every other exception. By the time the frame is asked every frame above has been,
/// so nobody catches. The stack still holds the frames from the throw on, and the dump shows where
/// it came from.
void EndByCppException(EXCEPTION_POINTERS& pointers) {
    if (pointers.ExceptionRecord->ExceptionCode == CppException) {
        ::UnhandledExceptionFilter(&pointers);
        // Back here, no dump could be written. The system's own handling would end the process so.
        ::TerminateProcess(::GetCurrentProcess(), CppException);
    }
}

}  // namespace

#ifdef __MINGW32__

extern "C" {

void TarnwickCallOnFilterFrame(void (*call)(const void* argument), const void* argument);

/// The frame's handler.
EXCEPTION_DISPOSITION TarnwickFilterFrameHandler(EXCEPTION_RECORD* record, void* /*frame*/,
                                                 CONTEXT* context, void* /*dispatcher*/) {
    constexpr DWORD Unwinding = EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND;
    if ((record->ExceptionFlags & Unwinding) == 0) {
        EXCEPTION_POINTERS pointers = {record, context};
        EndByCppException(pointers);
    }
    return ExceptionContinueSearch;
}
}

// A frame with a handler of this kind can't be written in the language itself.
__asm__(
    ".text\n"
    ".globl TarnwickCallOnFilterFrame\n"
    ".seh_proc TarnwickCallOnFilterFrame\n"
    "TarnwickCallOnFilterFrame:\n"
    "subq $40, %rsp\n"
    ".seh_stackalloc 40\n"
    ".seh_endprologue\n"
    "movq %rcx, %rax\n"
    "movq %rdx, %rcx\n"
    "call *%rax\n"
    "nop\n"
    "addq $40, %rsp\n"
    "ret\n"
    ".seh_handler TarnwickFilterFrameHandler, @except\n"
    ".seh_endproc\n");

namespace tarnwick {

void CallOnFilterFrame(void (*call)(const void* argument), const void* argument) {
    TarnwickCallOnFilterFrame(call, argument);
}

}  // namespace tarnwick

#else

namespace tarnwick {

void CallOnFilterFrame(void (*call)(const void* argument), const void* argument) {
    const auto filter = [](EXCEPTION_POINTERS* pointers) -> int {
        EndByCppException(*pointers);
        return EXCEPTION_CONTINUE_SEARCH;
    };
    __try {
        call(argument);
    } __except (filter(GetExceptionInformation())) {
    }
}

}  // namespace tarnwick

#endif
