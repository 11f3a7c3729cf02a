/// How bytes reach a log file. Failures are told on the debugger channel and never through the
/// logger, so that a failing file produces no further record. No call takes a lock.
#ifndef FRAMEWORK_LOGGER_LOG_FILE_H
#define FRAMEWORK_LOGGER_LOG_FILE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "framework/system/unique_handle.h"

namespace framework {

/// An open log file. Null stands for none: a write to it fails like any other. Hence this kind of
/// handle: `INVALID_HANDLE_VALUE` would be the process's own pseudo handle.
using LogFile = KernelHandle;

/// Makes a new file with the byte order mark, which others may read meanwhile. Null if a file of
/// the name exists or can't be made. A file whose mark can't be written stays on disk.
[[nodiscard]] LogFile CreateLogFile(const std::wstring& path);

/// Writes at the end of the file, by one platform call. False if it fails or writes less; nothing
/// is retried or continued.
[[nodiscard]] bool WriteBytes(HANDLE file, const void* data, std::uint32_t byteCount) noexcept;

/// The same for the characters of a text, without a terminating zero.
[[nodiscard]] bool WriteText(HANDLE file, std::wstring_view text) noexcept;

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_FILE_H
