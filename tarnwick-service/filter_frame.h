#ifndef TARNWICK_SERVICE_FILTER_FRAME_H
#define TARNWICK_SERVICE_FILTER_FRAME_H

namespace tarnwick {

/// Calls `call(argument)` on top of a frame that gives a C++ exception which nobody above it
/// catches to the unhandled exception filter, as the platform does at the end of every thread's
/// stack.
///
/// For calls with something further down that would take the exception into `std::terminate`, so
/// that the process ended with exit code 3 and without a dump: MinGW-w64's start-up code beneath
/// the main thread, which does so with every exception of its own run-time library, in whatever
/// module it was thrown; and a destructor.
void CallOnFilterFrame(void (*call)(const void* argument), const void* argument);

/// The same with `callable()`.
template <class Callable>
void CallOnFilterFrame(const Callable& callable) {
    CallOnFilterFrame([](const void* argument) { (*static_cast<const Callable*>(argument))(); },
                      &callable);
}

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_FILTER_FRAME_H
