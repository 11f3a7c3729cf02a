#ifndef TARNWICK_SERVICE_FILTER_FRAME_H
#define TARNWICK_SERVICE_FILTER_FRAME_H

namespace tarnwick {

/// Calls `call(argument)` so that an exception that it doesn't handle goes to the unhandled
/// exception filter with the whole stack in place. If the filter returns, the debugger gets its
/// second chance, and without a debugger the platform ends the process with the exception's code.
/// No frame of the caller is asked, and nothing is unwound.
///
/// For the main thread, the threads that the host makes, and a destructor that calls the controller
/// library. Without the frame a C++ exception ends in `std::terminate`, with exit code 3 and no
/// dump, at a destructor; and where no dump can be written, the platform unwinds the stack before
/// it ends the process, which MinGW's run-time library doesn't survive.
///
/// GCC for MinGW has no such frames. There the call is a plain one.
void CallOnFilterFrame(void (*call)(const void* argument), const void* argument);

/// The same with `callable()`.
template <class Callable>
void CallOnFilterFrame(const Callable& callable) {
    CallOnFilterFrame([](const void* argument) { (*static_cast<const Callable*>(argument))(); },
                      &callable);
}

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_FILTER_FRAME_H
