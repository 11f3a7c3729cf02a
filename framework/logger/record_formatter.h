#ifndef FRAMEWORK_LOGGER_RECORD_FORMATTER_H
#define FRAMEWORK_LOGGER_RECORD_FORMATTER_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace framework {

/// The parts of a record other than its message. Pointers must stay valid for the duration of the
/// call.
struct RecordInfo {
    const wchar_t* Tag;
    const wchar_t* Component;
    const wchar_t* File;
    const wchar_t* Function;
    std::uint32_t Line;
};

constexpr std::size_t HeadSize = 1024;
constexpr std::size_t FirstMessageSize = 1024;

/// The text of one record. A record of usual size needs no heap, so a crashed process can log
/// without free memory.
struct RecordText {
    /// Head, message, line feed and terminating zero of a record of usual size.
    wchar_t Usual[HeadSize + FirstMessageSize + 2];
    std::size_t UsualLength = 0;
    std::wstring Longer;  ///< the whole text of a longer record, else empty

    [[nodiscard]] std::wstring_view View() const noexcept {
        return Longer.empty() ? std::wstring_view(Usual, UsualLength) : Longer;
    }
};

/// Formats records: the time in UTC, tag and component in brackets, the source location if enabled,
/// the message, and a line feed unless the message ends in one.
struct RecordFormatter {
    bool RecordSourceLocation;
    bool RecordFlag;  ///< nothing reads it

    /// Replaces `out`. Truncates a message after 16383 characters, without a mark. A head or a
    /// source location that doesn't fit in 1024 characters terminates the process
    /// (`FailFastInvalidParameter`); callers must pass short tags, components and functions.
    void Format(std::wstring& out, const RecordInfo& info, const wchar_t* format,
                std::va_list args) const;

    /// As above. Allocates only for a message of more than 1023 characters or a source location.
    void Format(RecordText& out, const RecordInfo& info, const wchar_t* format,
                std::va_list args) const;
};

/// Appends only the message, and a line feed unless it ends in one.
void FormatText(std::wstring& out, const wchar_t* format, std::va_list args);

/// Prints the message and its line feed into `buffer` without allocating. False if it has more than
/// 1023 characters.
[[nodiscard]] bool FormatUsualText(wchar_t (&buffer)[FirstMessageSize + 1], const wchar_t* format,
                                   std::va_list args);

/// Appends a line feed unless `text` ends in one.
void EnsureNewline(std::wstring& text);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_RECORD_FORMATTER_H
