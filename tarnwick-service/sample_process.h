/// The sample executable that the console run's test flag copies, starts and removes again.
/// Failures are printed to standard output and never logged.
#ifndef TARNWICK_SERVICE_SAMPLE_PROCESS_H
#define TARNWICK_SERVICE_SAMPLE_PROCESS_H

#include <cstdint>
#include <string>

#include "framework/system/platform.h"

namespace tarnwick {

/// `length` random lower-case letters directly followed by `suffix`, in `result`. Always 0. Doesn't
/// check whether the name is in use. A length of 32768 or more ends the process
/// (`FailFastInvalidParameter`).
[[nodiscard]] std::uint32_t GenerateRandomFileName(std::wstring& result, const std::wstring& suffix,
                                                   std::uint32_t length);

/// Copies a file next to the executable to a random name next to it; returns the name in `result`.
/// 0 or a Win32 error.
[[nodiscard]] std::uint32_t CopyToRandomName(const std::wstring& sourceName, std::wstring& result);

/// The directory of the running executable. 0 or 1.
[[nodiscard]] std::uint32_t GetModuleDirectory(std::wstring& result);

/// The path of a file next to the executable. 0 or 1; `result` is written on success only.
[[nodiscard]] std::uint32_t PathNextToExecutable(std::wstring& result, const std::wstring& name);

/// Starts a process; the caller owns the two handles. 0, a Win32 error, or 1 for bad arguments.
[[nodiscard]] std::uint32_t CreateChildProcess(std::wstring commandLine,
                                               PROCESS_INFORMATION* processInformation);

/// Ends the process with exit code 0, waits for it without limit and closes both handles. 0, or the
/// Win32 error of the wait; then the handles stay open.
[[nodiscard]] std::uint32_t TerminateChild(const PROCESS_INFORMATION& processInformation);

/// Deletes a file. 0 or a Win32 error.
[[nodiscard]] std::uint32_t DeleteFileChecked(const std::wstring& path);

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_SAMPLE_PROCESS_H
