// What MinGW's start-up code calls for an exception that nobody on the main thread has handled,
// before the platform sees it. The run-time library's own function of this name answers some
// exceptions by resuming the program, so that they never reach the unhandled exception filter, and
// C++ exceptions so that they end in std::terminate. The linker takes this one instead. Each
// exception goes on to the platform, as on every other thread.

#include "framework/system/platform.h"

// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming): the library's names
extern "C" {

LONG CALLBACK _gnu_exception_handler(EXCEPTION_POINTERS* /*pointers*/) {
    return EXCEPTION_CONTINUE_SEARCH;
}

// Set by the start-up code. Defined in the same object of the library as the function.
LPTOP_LEVEL_EXCEPTION_FILTER __mingw_oldexcpt_handler = nullptr;
}
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)
