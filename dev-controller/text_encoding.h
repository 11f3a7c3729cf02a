#ifndef DEV_CONTROLLER_TEXT_ENCODING_H
#define DEV_CONTROLLER_TEXT_ENCODING_H

#include <optional>
#include <string>
#include <string_view>

namespace dev_controller {

/// Quoted UTF-8. Control characters, quotes, backslashes and unpaired surrogates become the
/// script's escapes, so the result is one line that a script can use.
[[nodiscard]] std::string QuotedUtf8(std::wstring_view text);

/// Nothing if the bytes are not UTF-8. Skips a byte order mark at the start.
[[nodiscard]] std::optional<std::wstring> WideFromUtf8(std::string_view bytes);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_TEXT_ENCODING_H
