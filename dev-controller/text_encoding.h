#ifndef DEV_CONTROLLER_TEXT_ENCODING_H
#define DEV_CONTROLLER_TEXT_ENCODING_H

#include <optional>
#include <string>
#include <string_view>

namespace dev_controller {

/// UTF-8 between quotes. Control characters, quotes, backslashes and lone surrogates become
/// escapes of the script's own kind, so that the result is one line that a script could repeat.
[[nodiscard]] std::string QuotedUtf8(std::wstring_view text);

/// Null if the bytes are not UTF-8. A byte order mark at the start is left out.
[[nodiscard]] std::optional<std::wstring> WideFromUtf8(std::string_view bytes);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_TEXT_ENCODING_H
