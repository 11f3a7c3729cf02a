#ifndef FRAMEWORK_LOGGER_RECORD_FORMATTER_H
#define FRAMEWORK_LOGGER_RECORD_FORMATTER_H

#include <cstdarg>
#include <cstdint>
#include <string>

namespace framework {

/// What a record tells besides its message. Borrows all its texts for the one call.
struct RecordInfo {
    const wchar_t* tag;
    const wchar_t* component;
    const wchar_t* file;
    const wchar_t* function;
    std::uint32_t line;
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
};

/// Appends the message alone, with no time and no brackets, and a line feed unless it ends in one.
void FormatText(std::wstring& out, const wchar_t* format, std::va_list args);

/// Appends a line feed unless `text` ends in one.
void EnsureNewline(std::wstring& text);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_RECORD_FORMATTER_H
