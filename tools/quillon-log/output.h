#ifndef TOOLS_QUILLON_LOG_OUTPUT_H
#define TOOLS_QUILLON_LOG_OUTPUT_H

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "tools/quillon-log/record.h"
#include "tools/quillon-log/run_reader.h"
#include "tools/quillon-log/time_point.h"

namespace quillon_log {

/// How records are written as text.
struct TextStyle {
    bool color = false;
    bool escape = false;  ///< show characters that can change the terminal as escapes
    Clock clock = Clock::Utc;
};

/// Writes one form of records after the other into a text.
class RecordWriter {
  public:
    explicit RecordWriter(TextStyle style, std::wstring host = {});

    /// Appends a record as a person reads it, with its line feed. `tag` names the source
    /// and can be empty.
    void AppendText(std::wstring& text, const Record& record, std::wstring_view tag = {});

    /// Appends a record as a JSON object on a line of its own.
    void AppendJson(std::wstring& json, const Record& record, const Origin& origin);

  private:
    std::chrono::minutes OffsetAt(TimePoint time);

    TextStyle style_;
    std::wstring hostJson_;
    // The time zone's offset, kept for as long as it can't change.
    TimePoint offsetFrom_ = TimePoint::max();
    std::chrono::minutes offset_{0};
};

/// The text with what can change a terminal as escapes such as "\x1b": control characters other
/// than tab and line feed, and those that change the direction of writing.
[[nodiscard]] std::wstring Escaped(std::wstring_view text);

/// Appends the text as a JSON string, quotes included. What can change a terminal is escaped too:
/// to a JSON reader that is the same text.
void AppendJsonText(std::wstring& json, std::wstring_view text);

/// Appends the text as UTF-8. A surrogate without its other half becomes the replacement character.
void AppendUtf8(std::string& bytes, std::wstring_view text);

/// Collects text for standard output; UTF-16 to a console, UTF-8 elsewhere.
class Output {
  public:
    Output();
    ~Output() { Flush(); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// The buffer to append the next text to. Call `Appended` after that: it writes a full buffer.
    [[nodiscard]] std::wstring& Text() noexcept { return pending_; }
    void Appended();
    /// Writes all. False once a write has failed; then nothing more is written.
    bool Flush();
    /// Waits until what was written to a file is on the disk.
    void Sync();
    [[nodiscard]] bool IsOpen() const noexcept { return isOpen_; }
    /// The platform's error if a write failed and the reader of a pipe wasn't the cause; otherwise
    /// 0.
    [[nodiscard]] unsigned long Failure() const noexcept { return failure_; }
    /// How many characters were written so far.
    [[nodiscard]] std::size_t Written() const noexcept { return written_; }
    [[nodiscard]] bool IsTerminal() const noexcept { return isTerminal_; }

  private:
    bool isTerminal_;
    bool isOpen_ = true;
    unsigned long failure_ = 0;
    std::size_t written_ = 0;
    std::wstring pending_;
    std::string bytes_;
};

/// One line to standard error. On a terminal it is escaped.
void WriteError(std::wstring_view text);
/// The same without the program's name.
void WriteErrorLine(std::wstring_view text);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_OUTPUT_H
