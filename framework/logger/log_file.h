/// Creates and writes log files. Failures are reported to the debugger channel, never to the
/// logger: a failing file must not produce further records. No call takes a lock.
#ifndef FRAMEWORK_LOGGER_LOG_FILE_H
#define FRAMEWORK_LOGGER_LOG_FILE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "framework/system/unique_handle.h"

namespace framework {

/// Null means "not open", and writing to it fails cleanly. (Not `FileHandle`: its empty value,
/// `INVALID_HANDLE_VALUE`, is also the pseudo handle of the current process.)
struct LogFileTraits : FileHandleTraits {
    static Type Invalid() noexcept { return nullptr; }
};
using LogFile = UniqueHandle<LogFileTraits>;

/// Creates a new file with a byte order mark; other processes may read it. Returns null if the file
/// exists or can't be created. If writing the mark fails, the file stays on disk.
[[nodiscard]] LogFile CreateLogFile(const std::wstring& path);

/// Writes at the end of the file with one platform call. Returns false if the call fails or writes
/// less; doesn't retry.
[[nodiscard]] bool WriteBytes(HANDLE file, const void* data, std::uint32_t byteCount) noexcept;

/// As `WriteBytes`, for the characters of `text` without a terminating zero.
[[nodiscard]] bool WriteText(HANDLE file, std::wstring_view text) noexcept;

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_FILE_H
