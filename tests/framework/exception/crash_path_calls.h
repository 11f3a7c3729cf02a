/// Replacements for the platform calls of the crash path. Nothing is dumped, started or ended; the
/// calls are recorded in order.
#ifndef TESTS_FRAMEWORK_EXCEPTION_CRASH_PATH_CALLS_H
#define TESTS_FRAMEWORK_EXCEPTION_CRASH_PATH_CALLS_H

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/platform_hooks.h"

namespace test {

/// An exception as the platform passes it to a filter.
class MadeUpException {
  public:
    explicit MadeUpException(DWORD code) { record_.ExceptionCode = code; }
    MadeUpException(const MadeUpException&) = delete;
    MadeUpException& operator=(const MadeUpException&) = delete;

    [[nodiscard]] EXCEPTION_POINTERS* Pointers() noexcept { return &pointers_; }

  private:
    EXCEPTION_RECORD record_ = {};
    CONTEXT context_ = {};
    EXCEPTION_POINTERS pointers_ = {&record_, &context_};
};

/// Handles that no real call returns.
inline const HANDLE FakeDumpFile = reinterpret_cast<HANDLE>(std::uintptr_t{0x7001});
inline const HANDLE FakeProcess = reinterpret_cast<HANDLE>(std::uintptr_t{0x7002});
inline const HANDLE FakeThread = reinterpret_cast<HANDLE>(std::uintptr_t{0x7003});

/// During its lifetime files named "*.dmp" are not created, no dump is written and the process
/// isn't ended. Each of these calls, and the closing of the fake handles, adds its name to `calls`.
/// The public members set the results and hold the arguments.
class CrashPathCalls {
  public:
    CrashPathCalls();

    std::vector<std::string> calls;

    HANDLE dumpFile = FakeDumpFile;  ///< result of the dump file's creation
    DWORD createError = 0;
    BOOL dumpResult = TRUE;
    DWORD dumpError = 0;

    std::wstring path;
    std::vector<DWORD> createArguments;  ///< access, share mode, disposition, attributes
    bool createPointersNull = false;     ///< security attributes and template
    HANDLE dumpedProcess = nullptr;
    DWORD dumpedProcessId = 0;
    HANDLE dumpedInto = nullptr;
    std::uint32_t flags = 0;
    MINIDUMP_EXCEPTION_INFORMATION information = {};
    bool dumpPointersNull = false;  ///< user streams and callback
    std::vector<DWORD> exitCodes;   ///< of `TerminateProcess`
    HANDLE endedProcess = nullptr;

    [[nodiscard]] std::size_t Count(const std::string& call) const;

  private:
    HANDLE OpenDumpFile(const wchar_t* name, DWORD access, DWORD share,
                        SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD attributes,
                        HANDLE templateFile);
    BOOL WriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                   MINIDUMP_EXCEPTION_INFORMATION* exception, const void* userStreams,
                   const void* callback);

    ScopedHook<CreateFileWHook> createFile_;
    ScopedHook<MiniDumpWriteDumpHook> miniDump_;
    ScopedHook<CloseHandleHook> closeHandle_;
    ScopedHook<TerminateProcessHook> terminateProcess_;
};

}  // namespace test

#endif  // TESTS_FRAMEWORK_EXCEPTION_CRASH_PATH_CALLS_H
