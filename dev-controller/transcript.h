#ifndef DEV_CONTROLLER_TRANSCRIPT_H
#define DEV_CONTROLLER_TRANSCRIPT_H

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "dev-controller/handle.h"

namespace dev_controller {

/// One transcript line under construction: name=value pairs, parted by one blank.
class TranscriptLine {
  public:
    TranscriptLine(std::string_view name, std::string_view word) { Word(name, word); }

    /// A value that needs no quotes.
    TranscriptLine& Word(std::string_view name, std::string_view word);
    TranscriptLine& Number(std::string_view name, std::int64_t value);
    /// 0x and as many digits as the value needs.
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

/// The file that tells what the library saw. Each line is written at once and as a whole, so that a
/// crash loses nothing and threads do not mix. All members may be called from any thread.
class Transcript {
  public:
    /// Lines go to the end of `path`: several processes may run through one script. Returns 0 or
    /// the error. Call it before any line is written; without it lines are dropped.
    [[nodiscard]] std::uint32_t Open(const std::wstring& path);
    [[nodiscard]] bool IsOpen() const { return static_cast<bool>(file_); }

    /// Puts `seq`, `pid` and `tid` in front. The numbers count from 1 in each process; two threads
    /// that write at the same moment may reach the file in the other order. Keeps the last error.
    void Write(const TranscriptLine& line);

  private:
    Handle file_;
    /// A kernel object, because a thread that was killed while it wrote must not block the rest,
    /// least of all the lines that are written while the process ends.
    Handle writeMutex_;
    std::atomic<std::uint32_t> sequence_ = 0;
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_TRANSCRIPT_H
