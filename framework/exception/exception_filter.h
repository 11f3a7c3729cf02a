#ifndef FRAMEWORK_EXCEPTION_EXCEPTION_FILTER_H
#define FRAMEWORK_EXCEPTION_EXCEPTION_FILTER_H

#include <cstdint>

#include "framework/system/platform.h"

namespace framework {

/// Called on the faulting thread, inside the filter's lock, before the dump is written.
using PreExceptionCallback = void (*)(void* context);

struct ExceptionFilterConfig {
    PreExceptionCallback preActionCallback;  ///< may be null
    void* preActionContext;
    std::uint8_t useDumperProcess;  ///< 1: a child process writes the dump; else this one does
    const wchar_t* dumpFilePath;    ///< not null; see `SetDumpTarget`
    std::uint32_t dumpType;         ///< `MINIDUMP_TYPE` flags
};

/// Catches what the process can't survive, has a dump written and ends the process with the
/// exception's own code. If no dump can be written the system's own handling ends the process.
///
/// It stands from construction to destruction: as the unhandled exception filter, and as the first
/// vectored handler for heap corruption alone. One object at a time. Storage of the crash path is
/// process-wide and of fixed size; the path itself allocates nothing, its log lines do. A line for
/// which there is no memory is lost.
class ExceptionFilter {
  public:
    /// Logs "ExceptionFilter was created". A dump path of more than 404 characters ends the
    /// process.
    explicit ExceptionFilter(const ExceptionFilterConfig& config);
    /// Brings the earlier filter back and logs "ExceptionFilter was removed".
    ~ExceptionFilter();
    ExceptionFilter(const ExceptionFilter&) = delete;
    ExceptionFilter& operator=(const ExceptionFilter&) = delete;

    /// Replaces the callback, without notice; null means none. Any thread, without a lock: a crash
    /// in that very moment can see the new function with the old context. Always 0.
    static std::uint32_t SetPreExceptionCallback(PreExceptionCallback callback,
                                                 void* context) noexcept;
    static void RemovePreExceptionCallback() noexcept;

    /// The unhandled exception filter. Comes back, with `EXCEPTION_CONTINUE_SEARCH`, only if no
    /// dump could be written.
    static LONG WINAPI ExceptionProcessing(EXCEPTION_POINTERS* exceptionPointers);

    /// The vectored handler, entered for every exception of every thread.
    static LONG WINAPI VectoredExceptionProcessing(EXCEPTION_POINTERS* exceptionPointers);

  private:
    LPTOP_LEVEL_EXCEPTION_FILTER previousFilter;
};

}  // namespace framework

#endif  // FRAMEWORK_EXCEPTION_EXCEPTION_FILTER_H
