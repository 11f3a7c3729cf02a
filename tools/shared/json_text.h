#ifndef TOOLS_SHARED_JSON_TEXT_H
#define TOOLS_SHARED_JSON_TEXT_H

#include <string>
#include <string_view>

namespace tools {

/// The text as a JSON string, quotes included.
[[nodiscard]] std::wstring JsonText(std::wstring_view text);

}  // namespace tools

#endif  // TOOLS_SHARED_JSON_TEXT_H
