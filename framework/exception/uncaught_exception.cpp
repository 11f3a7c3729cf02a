#include "framework/exception/uncaught_exception.h"

#ifdef __MINGW32__

#include <cstdlib>
#include <exception>

#include "framework/system/platform.h"

namespace framework {
namespace {

/// The code that GCC's run-time library raises for a C++ exception.
constexpr DWORD GccThrow = 0x20474343;

// Handed over directly: raised once more, the exception would meet the same start-up code. The
// stack still holds the frames from the throw on, so the dump shows where it came from.
[[noreturn]] void HandOverUncaught() {
    CONTEXT context = {};
    ::RtlCaptureContext(&context);
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = GccThrow;
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    record.ExceptionAddress = reinterpret_cast<void*>(&HandOverUncaught);
    EXCEPTION_POINTERS pointers = {&record, &context};
    ::UnhandledExceptionFilter(&pointers);
    // Back here, no dump could be written. There is nothing left to search for a handler.
    ::TerminateProcess(::GetCurrentProcess(), GccThrow);
    std::abort();
}

}  // namespace

void SendUncaughtExceptionsToFilter() noexcept {
    std::set_terminate(HandOverUncaught);
}

}  // namespace framework

#else

namespace framework {

void SendUncaughtExceptionsToFilter() noexcept {}

}  // namespace framework

#endif
