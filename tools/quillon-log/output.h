#ifndef TOOLS_QUILLON_LOG_OUTPUT_H
#define TOOLS_QUILLON_LOG_OUTPUT_H

#include <string>

#include "tools/quillon-log/record.h"

namespace quillon_log {

/// One record as a person reads it, with its line feed. `color` adds terminal colours.
[[nodiscard]] std::wstring ToText(const Record& record, bool color);

/// One record as a JSON object on a line of its own.
[[nodiscard]] std::wstring ToJson(const Record& record);

/// Collects text for standard output; UTF-16 to a console, UTF-8 elsewhere.
class Output {
  public:
    Output() = default;
    ~Output() { Flush(); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Write(const std::wstring& text);
    void Flush();
    /// False once standard output has been closed by whoever read it.
    [[nodiscard]] bool Open() const noexcept { return open_; }

  private:
    std::wstring pending_;
    bool open_ = true;
};

/// One line to standard error.
void WriteError(const std::wstring& text);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_OUTPUT_H
