#ifndef TOOLS_QUILLON_LOG_CASE_FOLD_H
#define TOOLS_QUILLON_LOG_CASE_FOLD_H

#include <string>
#include <string_view>

namespace quillon_log {

/// The capital of a character, by the platform's rules for all languages.
[[nodiscard]] wchar_t Capital(wchar_t character);
[[nodiscard]] std::wstring Capitals(std::wstring_view text);

/// Whether two texts are the same but for capitals.
[[nodiscard]] bool IsSameText(std::wstring_view left, std::wstring_view right);

/// Whether `part`, which is all capitals, is somewhere in `text`, in capitals or not.
[[nodiscard]] bool ContainsText(std::wstring_view text, std::wstring_view part);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_CASE_FOLD_H
