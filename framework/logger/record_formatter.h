#ifndef FRAMEWORK_LOGGER_RECORD_FORMATTER_H
#define FRAMEWORK_LOGGER_RECORD_FORMATTER_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace framework {

/// What a record tells besides its message. Borrows all its texts for the one call.
struct RecordInfo {
    const wchar_t* Tag;
    const wchar_t* Component;
    const wchar_t* File;
    const wchar_t* Function;
    std::uint32_t Line;
};

constexpr std::size_t HeadSize = 1024;
constexpr std::size_t FirstMessageSize = 1024;

/// The text of one record. A usual record needs no heap, so a crashed process can still log when
/// there is no memory left.
struct RecordText {
    /// Head, message, line feed and terminating zero of a usual record.
    wchar_t Usual[HeadSize + FirstMessageSize + 2];
    std::size_t UsualLength = 0;
    std::wstring Longer;  ///< holds the whole text of any other record

    [[nodiscard]] std::wstring_view View() const noexcept {
        return Longer.empty() ? std::wstring_view(Usual, UsualLength) : Longer;
    }
};

/// Makes the text of a record: the time in UTC, tag and component in brackets, the source location
/// if asked for, the message, and a line feed unless the message ends in one.
struct RecordFormatter {
    bool RecordSourceLocation;
    bool RecordFlag;  ///< nothing reads it

    /// Replaces `out`. A message of more than 16383 characters is cut there without any mark. A
    /// head or a source location that doesn't fit in 1024 characters ends the process
    /// (`FailFastInvalidParameter`): tags, components and function names are short by construction.
    void Format(std::wstring& out, const RecordInfo& info, const wchar_t* format,
                std::va_list args) const;

    /// The same. Allocates only for a message of more than 1023 characters or a source location.
    void Format(RecordText& out, const RecordInfo& info, const wchar_t* format,
                std::va_list args) const;
};

/// Appends the message alone, with no time and no brackets, and a line feed unless it ends in one.
void FormatText(std::wstring& out, const wchar_t* format, std::va_list args);

/// Prints the message and its line feed into `buffer`, without the heap. False if it has more than
/// 1023 characters.
[[nodiscard]] bool FormatUsualText(wchar_t (&buffer)[FirstMessageSize + 1], const wchar_t* format,
                                   std::va_list args);

/// Appends a line feed unless `text` ends in one.
void EnsureNewline(std::wstring& text);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_RECORD_FORMATTER_H
