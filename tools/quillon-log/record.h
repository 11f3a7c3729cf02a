#ifndef TOOLS_QUILLON_LOG_RECORD_H
#define TOOLS_QUILLON_LOG_RECORD_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/quillon-log/time_point.h"

namespace quillon_log {

/// One record of a log. Its texts belong to the scanner that gave it, until the scanner's next
/// call.
struct Record {
    std::optional<TimePoint> time;  ///< none for text that doesn't begin as a record does
    std::wstring_view level;        ///< one letter: E, W, T or V
    std::wstring_view component;
    std::wstring_view message;  ///< without its last line feed; can hold several lines
    bool cut = false;           ///< the record has no line feed at its end: that was never written
};

/// Splits the UTF-16LE text of one log into records. A line that doesn't begin with a time belongs
/// to the record before it. A text of more than 32768 characters is split into pieces of that size,
/// so that a file without any line feed needs no more memory than others.
class RecordScanner {
  public:
    static constexpr std::size_t MostCharacters = 32768;

    /// Begins with the text at the byte `offset` of a log.
    void Begin(std::uint64_t offset);

    /// Room for the next bytes of the log: `size` of them.
    [[nodiscard]] char* Room(std::size_t size);
    /// So many bytes were put into the room.
    void Added(std::size_t size) { end_ += size; }

    /// Takes the next record that is whole: the one after it has begun. False if there is none.
    bool Next(Record& record);
    /// Takes the last record of the log, whole or cut. False if there is none.
    bool Last(Record& record);

    /// The offset of the first byte that belongs to no record returned so far.
    [[nodiscard]] std::uint64_t Consumed() const noexcept { return offset_; }
    /// The offset of the next byte to be added.
    [[nodiscard]] std::uint64_t End() const noexcept { return offset_ + (end_ - begin_ * 2); }
    /// Whether the text that was not returned yet ends in a line feed.
    [[nodiscard]] bool EndsInLineFeed() const;
    /// The text that was not returned yet.
    [[nodiscard]] std::wstring_view Rest() const;
    /// Gives memory back that the rest doesn't need.
    void Shrink();

  private:
    bool Split(Record& record, bool isEnd);
    void Give(std::size_t size, Record& record);

    std::vector<wchar_t> buffer_;
    std::size_t begin_ = 0;     ///< of the rest, in characters
    std::size_t searched_ = 0;  ///< no record ends before this character
    std::size_t end_ = 0;       ///< of the rest, in bytes
    std::uint64_t offset_ = 0;
    std::optional<TimePoint> time_;  ///< of the rest's first record, if `isTimed_`
    bool isTimed_ = false;
    bool isPiece_ = false;  ///< the rest continues a text that was returned in part
};

/// Takes the text of one record apart. Text of another shape becomes a message alone.
[[nodiscard]] Record ParseRecord(std::wstring_view text);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_RECORD_H
