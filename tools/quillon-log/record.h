#ifndef TOOLS_QUILLON_LOG_RECORD_H
#define TOOLS_QUILLON_LOG_RECORD_H

#include <string>
#include <string_view>
#include <vector>

#include "tools/quillon-log/time_point.h"

namespace quillon_log {

/// One record of a log.
struct Record {
    TimePoint time = 0;
    std::wstring level;  ///< one letter: E, W, T or V
    std::wstring component;
    std::wstring message;  ///< without its last line feed; can hold several lines
    bool cut = false;      ///< the record doesn't end in a line feed: its end was never written
};

/// Makes records out of the bytes of one log, which can come in any pieces. A line that doesn't
/// begin with a time belongs to the record before it.
class RecordParser {
  public:
    /// Takes the next bytes and returns the records that are complete now. A record is complete
    /// when the next one has begun, or when `Finish` is called.
    [[nodiscard]] std::vector<Record> Take(std::string_view bytes);

    /// The last record, complete or cut. The parser can go on afterwards: what then comes without a
    /// time of its own is a record without one.
    [[nodiscard]] std::vector<Record> Finish();

    /// Whether what is held back ends in a line feed, and so is whole unless more lines come.
    [[nodiscard]] bool EndsInLineFeed() const noexcept {
        return !text_.empty() && text_.back() == L'\n';
    }

  private:
    std::string oddByte_;
    std::wstring text_;
    bool atStart_ = true;
};

/// Reads the text of one record. A text of another shape becomes a message alone.
[[nodiscard]] Record ParseRecord(std::wstring_view text);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_RECORD_H
