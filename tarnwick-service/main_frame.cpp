#include "tarnwick-service/main_frame.h"

#ifdef __MINGW32__

#include "framework/system/platform.h"

extern "C" {

void TarnwickCallOnMainFrame(void (*call)(const void* argument), const void* argument);

/// The frame's handler. By the time it is asked every frame above has been, so nobody catches. The
/// stack still holds the frames from the throw on, and the dump shows where it came from.
EXCEPTION_DISPOSITION TarnwickMainFrameHandler(EXCEPTION_RECORD* record, void* /*frame*/,
                                               CONTEXT* context, void* /*dispatcher*/) {
    constexpr DWORD GccThrow = 0x20474343;  // what GCC's run-time library raises
    constexpr DWORD Unwinding = EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND;
    if (record->ExceptionCode == GccThrow && (record->ExceptionFlags & Unwinding) == 0) {
        EXCEPTION_POINTERS pointers = {record, context};
        ::UnhandledExceptionFilter(&pointers);
        // Back here, no dump could be written. The system's own handling would end the process so.
        ::TerminateProcess(::GetCurrentProcess(), GccThrow);
    }
    return ExceptionContinueSearch;
}
}

// A frame with a handler of this kind can't be written in the language itself.
__asm__(
    ".text\n"
    ".globl TarnwickCallOnMainFrame\n"
    ".seh_proc TarnwickCallOnMainFrame\n"
    "TarnwickCallOnMainFrame:\n"
    "subq $40, %rsp\n"
    ".seh_stackalloc 40\n"
    ".seh_endprologue\n"
    "movq %rcx, %rax\n"
    "movq %rdx, %rcx\n"
    "call *%rax\n"
    "nop\n"
    "addq $40, %rsp\n"
    "ret\n"
    ".seh_handler TarnwickMainFrameHandler, @except\n"
    ".seh_endproc\n");

namespace tarnwick {

void CallOnMainFrame(void (*call)(const void* argument), const void* argument) {
    TarnwickCallOnMainFrame(call, argument);
}

}  // namespace tarnwick

#else

namespace tarnwick {

void CallOnMainFrame(void (*call)(const void* argument), const void* argument) {
    call(argument);
}

}  // namespace tarnwick

#endif
