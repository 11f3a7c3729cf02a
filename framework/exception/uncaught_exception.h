#ifndef FRAMEWORK_EXCEPTION_UNCAUGHT_EXCEPTION_H
#define FRAMEWORK_EXCEPTION_UNCAUGHT_EXCEPTION_H

namespace framework {

/// Makes sure that a C++ exception that nobody catches reaches the unhandled exception filter, on
/// every thread. Visual C++ does that by itself; MinGW-w64's start-up code takes such exceptions
/// away on the main thread and ends the process with exit code 3, without a dump.
void SendUncaughtExceptionsToFilter() noexcept;

}  // namespace framework

#endif  // FRAMEWORK_EXCEPTION_UNCAUGHT_EXCEPTION_H
