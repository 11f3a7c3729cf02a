#ifndef TARNWICK_SERVICE_FILTER_FRAME_H
#define TARNWICK_SERVICE_FILTER_FRAME_H

namespace tarnwick {

/// Calls `call(argument)` under a frame that passes an unhandled exception to the unhandled
/// exception filter, as the base of any ordinary thread does, before anything is unwound. If the
/// filter returns, a debugger gets its second chance; without a debugger the platform ends the
/// process with the exception's code.
///
/// For the main thread, for each routine of the host that the platform calls on another thread, and
/// for a destructor that calls the controller library. Without the frame a C++ exception that meets
/// a destructor ends in `std::terminate`, with exit code 3 and no dump. And where no dump can be
/// written Wine unwinds the stack before it ends the process, and MinGW's run-time library hangs.
///
/// GCC for MinGW doesn't support such frames. In its build this is a plain call.
void CallOnFilterFrame(void (*call)(const void* argument), const void* argument);

/// The same with `callable()`.
template <class Callable>
void CallOnFilterFrame(const Callable& callable) {
    CallOnFilterFrame([](const void* argument) { (*static_cast<const Callable*>(argument))(); },
                      &callable);
}

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_FILTER_FRAME_H
