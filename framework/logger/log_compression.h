#ifndef FRAMEWORK_LOGGER_LOG_COMPRESSION_H
#define FRAMEWORK_LOGGER_LOG_COMPRESSION_H

#include <cstdint>
#include <string>

namespace framework {

/// Compresses the closed file `source` to the gzip file `target`, which is created or overwritten.
/// Returns 0 if the caller may delete the source, else a Win32 error, or 1359
/// (`ERROR_INTERNAL_ERROR`) for a failed write; a partial target stays. Logs failures as errors and
/// takes no lock except to log.
///
/// Also returns 0 if `target` can't be opened, which is meant: that log is lost. Each character of
/// `target` is cut to its low byte, so a path with characters above U+00FF names a different file.
[[nodiscard]] std::uint32_t CompressFile(const std::wstring& source, const std::wstring& target);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_COMPRESSION_H
