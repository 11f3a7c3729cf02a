#ifndef TESTS_FUZZ_RECORD_MODEL_H
#define TESTS_FUZZ_RECORD_MODEL_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "framework/system/platform.h"

namespace fuzz {

/// What a call of the formatter is given, free of pointers.
struct RecordCall {
    SYSTEMTIME time = {};
    std::wstring tag;
    std::wstring component;
    std::optional<std::wstring> file;  ///< absent: no source location is asked for
    std::wstring function;
    std::uint32_t line = 0;
    std::wstring format;
    /// One for each conversion of the format; a number conversion takes the text's `NumberOf`.
    std::vector<std::wstring> arguments;
};

/// Any text as a number: its decimal digits if it begins with some, else what its characters add up
/// to.
[[nodiscard]] std::uint32_t NumberOf(const std::wstring& text);

/// The format's conversions, in order: 's' for the texts, 'd', 'u', 'x', 'X', or 'h' for "%hu".
/// Nothing if the format isn't one that a caller of the logger could write.
[[nodiscard]] std::optional<std::wstring> ConversionsOf(const std::wstring& format);

/// The message, printed character by character and cut nowhere.
[[nodiscard]] std::wstring PrintedMessage(const RecordCall& call);

/// The record as it must be; nothing if the process must end.
[[nodiscard]] std::optional<std::wstring> ModelOfRecord(const RecordCall& call);

/// What `FormatText` appends.
[[nodiscard]] std::wstring ModelOfText(const RecordCall& call);

}  // namespace fuzz

#endif  // TESTS_FUZZ_RECORD_MODEL_H
