#ifndef TESTS_FUZZ_INPUT_H
#define TESTS_FUZZ_INPUT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// What a target is given: some texts. Bytes are texts too, of characters up to 255.
using Input = std::vector<std::wstring>;

/// One line of plain characters: each text in quotes, parted by blanks. `\xHHHH` is a character,
/// and `\{100}a` stands for a hundred of the character behind it.
[[nodiscard]] std::string Escaped(const Input& input);

/// The other way round; nothing if the line is no escaped input.
[[nodiscard]] std::optional<Input> FromEscaped(std::string_view line);

[[nodiscard]] std::wstring TextOfBytes(std::string_view bytes);
[[nodiscard]] std::string BytesOfText(std::wstring_view text);

}  // namespace fuzz

#endif  // TESTS_FUZZ_INPUT_H
