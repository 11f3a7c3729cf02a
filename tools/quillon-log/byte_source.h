#ifndef TOOLS_QUILLON_LOG_BYTE_SOURCE_H
#define TOOLS_QUILLON_LOG_BYTE_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace quillon_log {

/// Bytes that are read once, from the first to the last. Not thread-safe.
class ByteSource {
  public:
    ByteSource() = default;
    virtual ~ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    /// Reads up to `size` bytes. 0 at the end as it is now, or after a failure.
    virtual std::size_t Read(char* to, std::size_t size) = 0;
    /// Skips up to `count` bytes and returns how many it skipped.
    virtual std::uint64_t Skip(std::uint64_t count);
    /// What is wrong with what was read so far; empty if nothing is.
    [[nodiscard]] virtual std::wstring Problem() const = 0;
};

/// Reads a file. Others may write to it, rename it and delete it meanwhile. Null, with the
/// platform's last error set, if it can't be opened.
[[nodiscard]] std::unique_ptr<ByteSource> OpenFileBytes(const std::wstring& path);

/// Reads standard input.
[[nodiscard]] std::unique_ptr<ByteSource> StandardInputBytes();

/// The UTF-16LE text, byte by byte, of a log that may be compressed and may be UTF-8. Other content
/// is reported as a problem and returns no bytes. `mustBeCompressed`: so are bytes that aren't
/// gzip.
[[nodiscard]] std::unique_ptr<ByteSource> LogTextOf(std::unique_ptr<ByteSource> file,
                                                    bool mustBeCompressed);

/// Reads `inner` ahead on a thread of its own, by up to half a megabyte.
[[nodiscard]] std::unique_ptr<ByteSource> ReadAhead(std::unique_ptr<ByteSource> inner);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_BYTE_SOURCE_H
