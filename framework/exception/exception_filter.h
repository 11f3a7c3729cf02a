#ifndef FRAMEWORK_EXCEPTION_EXCEPTION_FILTER_H
#define FRAMEWORK_EXCEPTION_EXCEPTION_FILTER_H

#include <cstdint>

#include "framework/system/platform.h"

namespace framework {

/// Called on the crashing thread, under the filter's lock, before the dump is written.
using PreExceptionCallback = void (*)(void* context);

struct ExceptionFilterConfig {
    PreExceptionCallback preActionCallback;  ///< may be null
    void* preActionContext;
    std::uint8_t useDumperProcess;  ///< 1: a child process writes the dump; otherwise this one
    const wchar_t* dumpFilePath;    ///< not null; see `SetDumpTarget`
    std::uint32_t dumpType;         ///< `MINIDUMP_TYPE` flags
};

/// Handles an exception that nothing else handles: writes a dump and ends the process with the
/// exception's own code. If no dump can be written, the system's default handling ends the process.
///
/// Installed from construction to destruction: as the unhandled exception filter, and as the first
/// vectored handler, for heap corruption only. One object at a time. The crash path's storage is
/// process-wide and of fixed size. The path itself allocates nothing; a log line that needs memory
/// is lost if there is none.
class ExceptionFilter {
  public:
    /// Installs both handlers and logs "ExceptionFilter was created". A dump path of more than 404
    /// characters ends the process.
    explicit ExceptionFilter(const ExceptionFilterConfig& config);
    /// Restores the previous filter and logs "ExceptionFilter was removed". Never throws.
    ~ExceptionFilter();
    ExceptionFilter(const ExceptionFilter&) = delete;
    ExceptionFilter& operator=(const ExceptionFilter&) = delete;

    /// Replaces the callback; null means none. Logs nothing. Any thread, without a lock: a crash at
    /// the same moment can see the new function with the old context. Always returns 0.
    static std::uint32_t SetPreExceptionCallback(PreExceptionCallback callback,
                                                 void* context) noexcept;
    static void RemovePreExceptionCallback() noexcept;

    /// The unhandled exception filter. Returns only if no dump could be written, with
    /// `EXCEPTION_CONTINUE_SEARCH`.
    static LONG WINAPI ExceptionProcessing(EXCEPTION_POINTERS* exceptionPointers);

    /// The vectored handler, called for every exception of every thread.
    static LONG WINAPI VectoredExceptionProcessing(EXCEPTION_POINTERS* exceptionPointers);

  private:
    LPTOP_LEVEL_EXCEPTION_FILTER previousFilter;
};

}  // namespace framework

#endif  // FRAMEWORK_EXCEPTION_EXCEPTION_FILTER_H
