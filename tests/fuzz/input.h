#ifndef TESTS_FUZZ_INPUT_H
#define TESTS_FUZZ_INPUT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// The input of a target: some texts. Bytes are texts of characters up to 255.
using Input = std::vector<std::wstring>;

/// One line of plain characters: each text in quotes, separated by blanks. `\xHHHH` is a character,
/// `\{100}a` is `a` a hundred times.
[[nodiscard]] std::string Escaped(const Input& input);

/// The reverse; nothing if the line isn't an escaped input.
[[nodiscard]] std::optional<Input> FromEscaped(std::string_view line);

[[nodiscard]] std::wstring TextOfBytes(std::string_view bytes);
[[nodiscard]] std::string BytesOfText(std::wstring_view text);

}  // namespace fuzz

#endif  // TESTS_FUZZ_INPUT_H
