#ifndef TESTS_FUZZ_RECORD_MODEL_H
#define TESTS_FUZZ_RECORD_MODEL_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "framework/system/platform.h"

namespace fuzz {

/// The parameters of a formatter call, without pointers.
struct RecordCall {
    SYSTEMTIME time = {};
    std::wstring tag;
    std::wstring component;
    std::optional<std::wstring> file;  ///< absent: without source location
    std::wstring function;
    std::uint32_t line = 0;
    std::wstring format;
    /// One for each conversion of the format; a number conversion uses the text's `NumberOf`.
    std::vector<std::wstring> arguments;
};

/// A number for any text: its leading decimal digits, or else the sum of its characters.
[[nodiscard]] std::uint32_t NumberOf(const std::wstring& text);

/// The format's conversions, in order: 's' for the texts, 'd', 'u', 'x', 'X', or 'h' for "%hu".
/// Nothing if no caller of the logger could write this format.
[[nodiscard]] std::optional<std::wstring> ConversionsOf(const std::wstring& format);

/// The message, printed character by character, without truncation.
[[nodiscard]] std::wstring PrintedMessage(const RecordCall& call);

/// The expected record; nothing if the process must end.
[[nodiscard]] std::optional<std::wstring> ModelOfRecord(const RecordCall& call);

/// The text that `FormatText` appends.
[[nodiscard]] std::wstring ModelOfText(const RecordCall& call);

}  // namespace fuzz

#endif  // TESTS_FUZZ_RECORD_MODEL_H
