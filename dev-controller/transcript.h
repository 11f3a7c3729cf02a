#ifndef DEV_CONTROLLER_TRANSCRIPT_H
#define DEV_CONTROLLER_TRANSCRIPT_H

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "dev-controller/handle.h"

namespace dev_controller {

/// Builds one transcript line: name=value pairs, separated by a blank.
class TranscriptLine {
  public:
    TranscriptLine(std::string_view name, std::string_view word) { Word(name, word); }

    /// A value that needs no quotes.
    TranscriptLine& Word(std::string_view name, std::string_view word);
    TranscriptLine& Number(std::string_view name, std::int64_t value);
    /// 0x and as many digits as needed.
    TranscriptLine& Hex(std::string_view name, std::uint64_t value);
    TranscriptLine& Pointer(std::string_view name, const void* value);
    template <typename Result, typename... Arguments>
    TranscriptLine& Pointer(std::string_view name, Result (*value)(Arguments...)) {
        return Hex(name, reinterpret_cast<std::uintptr_t>(value));
    }
    TranscriptLine& Quoted(std::string_view name, std::wstring_view text);
    TranscriptLine& Quoted(std::string_view name, std::string_view text);
    /// Two digits a byte, in the order of their addresses.
    TranscriptLine& Bytes(std::string_view name, const void* bytes, std::size_t size);

    [[nodiscard]] const std::string& Text() const { return text_; }

  private:
    std::string text_;
};

/// The file that records the library's calls. Each line is written immediately and as a whole, so
/// that a crash loses nothing and lines of threads don't mix. Thread-safe.
class Transcript {
  public:
    /// Appends to `path`, which several processes may share. Returns 0 or the error. Lines written
    /// before this call are dropped.
    [[nodiscard]] std::uint32_t Open(const std::wstring& path);
    [[nodiscard]] bool IsOpen() const { return static_cast<bool>(file_); }

    /// Prepends `seq`, `pid` and `tid`. `seq` counts from 1 in each process; lines of two threads
    /// can reach the file in the other order. Preserves the last error.
    void Write(const TranscriptLine& line);

  private:
    Handle file_;
    /// A kernel mutex, so that a thread killed during a write doesn't block the others, especially
    /// while the process is ending.
    Handle writeMutex_;
    std::atomic<std::uint32_t> sequence_ = 0;
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_TRANSCRIPT_H
