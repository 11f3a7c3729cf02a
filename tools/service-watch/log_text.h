/// From the bytes of a log file to lines for a terminal.
#ifndef TOOLS_SERVICE_WATCH_LOG_TEXT_H
#define TOOLS_SERVICE_WATCH_LOG_TEXT_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace service_watch {

/// Takes one line without its line feed.
using LineSink = std::function<void(std::wstring_view line)>;

/// Puts UTF-16LE text together again from pieces that may end anywhere.
class LineDecoder {
  public:
    /// Takes the next bytes and hands on each line that is complete.
    void Add(std::string_view bytes, const LineSink& sink);

    /// Hands on what is left without a line feed and begins a new file: the next two bytes may be
    /// a byte order mark again.
    void Finish(const LineSink& sink);

  private:
    std::string odd_;  // half a character
    std::wstring line_;
    bool atStart_ = true;
};

/// The pieces of a record's first line: "[time][tag][component] message".
struct RecordHead {
    bool found = false;    ///< false for a further line of a message
    wchar_t tag = 0;       ///< the first character of the tag
    std::size_t size = 0;  ///< characters before the message
};

[[nodiscard]] RecordHead FindRecordHead(std::wstring_view line) noexcept;

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_LOG_TEXT_H
