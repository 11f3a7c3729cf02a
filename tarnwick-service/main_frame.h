#ifndef TARNWICK_SERVICE_MAIN_FRAME_H
#define TARNWICK_SERVICE_MAIN_FRAME_H

namespace tarnwick {

/// Calls `call(argument)` on top of a frame that gives a C++ exception which nobody catches to the
/// unhandled exception filter, as the platform does on every other thread.
///
/// MinGW-w64's start-up code stands beneath the main thread and lets such an exception of its own
/// run-time library, thrown in whatever module, go on into `std::terminate`: the process would end
/// with exit code 3 and without a dump. Built with Visual C++ this is a plain call.
void CallOnMainFrame(void (*call)(const void* argument), const void* argument);

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_MAIN_FRAME_H
