// Where exceptions would meet the run-time libraries of MinGW before they meet the exception
// filter.

#include <cstdint>

#include "framework/system/platform.h"

// What the start-up code calls for an exception that nobody on the main thread has handled, before
// the platform sees it. The run-time library's own function of this name resumes the program after
// some exceptions, which then never reach the unhandled exception filter, and turns C++ exceptions
// into std::terminate. The linker takes this function instead. Each exception goes on to the
// platform, as on every other thread.

// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming): the library's names
extern "C" {

LONG CALLBACK _gnu_exception_handler(EXCEPTION_POINTERS* /*pointers*/) {
    return EXCEPTION_CONTINUE_SEARCH;
}

// Set by the start-up code. Defined in the same object of the library as the function.
LPTOP_LEVEL_EXCEPTION_FILTER __mingw_oldexcpt_handler = nullptr;
}
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

namespace {

/// Whatever a module built with GCC raises is 0x20474343 with the exception object as parameter.
constexpr DWORD GccException = 0x20474343;

/// What the frames of such a module get to see as an exception object that isn't theirs. The first
/// word is the class of the object.
std::uint64_t foreignException[8];

/// The frames of modules built with GCC follow the first parameter of this code without a look at
/// the number of parameters: without parameters they crash on it, and the process ends with the
/// code of that crash. The dump doesn't show the pointer, as the number of parameters stays 0.
LONG CALLBACK AddMissingObject(EXCEPTION_POINTERS* pointers) {
    EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode == GccException && record.NumberParameters == 0) {
        record.ExceptionInformation[0] = reinterpret_cast<ULONG_PTR>(foreignException);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

// Never removed.
[[maybe_unused]] const void* const objectHandler =
    ::AddVectoredExceptionHandler(0, AddMissingObject);

}  // namespace
