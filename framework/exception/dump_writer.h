/// Writing the dump file, from inside the crashing process or from outside.
///
/// All storage is process-wide and of fixed size. Apart from the log lines nothing allocates or
/// takes a lock: the heap may be broken. In a crash the caller, the exception filter, holds its own
/// lock. A line of `WriteDumpFile` that needs memory is lost if there is none.
#ifndef FRAMEWORK_EXCEPTION_DUMP_WRITER_H
#define FRAMEWORK_EXCEPTION_DUMP_WRITER_H

#include <cstdint>

#include "framework/system/platform.h"

// Needs windows.h before it.
#include <dbghelp.h>

namespace framework {

/// Sets the dump file's path and the `MINIDUMP_TYPE` flags, which are passed on unchanged. An empty
/// path means the running executable's path plus ".dmp". A path of more than 404 characters ends
/// the process (`FailFastInvalidParameter`).
void SetDumpTarget(const wchar_t* path, std::uint32_t type);

/// Writes the dump of a process and replaces an earlier file. `defaultPath` is used if the dump
/// path is empty. `threadId` is not used. Returns 0 or the Win32 error, which is logged. A partly
/// written file stays.
[[nodiscard]] std::uint32_t WriteDumpFile(const DWORD* processId, const HANDLE* processHandle,
                                          const DWORD* threadId,
                                          MINIDUMP_EXCEPTION_INFORMATION* exceptionInformation,
                                          const wchar_t* defaultPath);

/// Writes the dump of this process. Returns 0 or the Win32 error.
[[nodiscard]] std::uint32_t CreateDumpInThisProcess(const DWORD* processId, const DWORD* threadId,
                                                    EXCEPTION_POINTERS* const* exceptionPointers,
                                                    const wchar_t* defaultPath);

/// Writes the dump of another process. The texts come from the command line: two decimal ids and
/// the hexadecimal address of the exception pointers in that process. A text that doesn't parse
/// counts as 0; a null text ends the process (`FailFastInvalidParameter`) before anything is
/// opened. Returns 0 or the Win32 error, which is logged.
[[nodiscard]] std::uint32_t CreateDumpInOtherProcess(const wchar_t* processIdText,
                                                     const wchar_t* threadIdText,
                                                     const wchar_t* exceptionPointersText);

}  // namespace framework

#endif  // FRAMEWORK_EXCEPTION_DUMP_WRITER_H
