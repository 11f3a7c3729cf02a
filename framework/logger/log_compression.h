#ifndef FRAMEWORK_LOGGER_LOG_COMPRESSION_H
#define FRAMEWORK_LOGGER_LOG_COMPRESSION_H

#include <cstdint>
#include <string>

namespace framework {

/// Compresses the closed file `source` into the gzip file `target`, which is made or overwritten.
/// Returns 0 if the caller may delete the source, else the Win32 error, or 1359
/// (`ERROR_INTERNAL_ERROR`) for a failed write; what was written of the target stays. Failures are
/// logged as errors, a success is not. Takes no lock but for these lines.
///
/// A target that can't be opened gives 0 too: a log is given up rather than kept then. Each
/// character of `target` is cut to its low byte, so a path above U+00FF names another file or none.
[[nodiscard]] std::uint32_t CompressFile(const std::wstring& source, const std::wstring& target);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_COMPRESSION_H
