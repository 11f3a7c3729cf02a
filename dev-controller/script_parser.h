#ifndef DEV_CONTROLLER_SCRIPT_PARSER_H
#define DEV_CONTROLLER_SCRIPT_PARSER_H

#include <optional>
#include <string_view>
#include <variant>

#include "dev-controller/script.h"

namespace dev_controller {

/// Parses a script: one statement per line; a line that begins with `#` is a comment. Stops at the
/// first error.
[[nodiscard]] std::variant<Script, ScriptError> ParseScript(std::wstring_view text);

/// Parses the arguments of `chatty`: any of threads=N rate=N length=N lines=N. Nothing on an error.
[[nodiscard]] std::optional<Chatter> ParseChatter(std::wstring_view text);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_SCRIPT_PARSER_H
