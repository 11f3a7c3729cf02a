#ifndef DEV_CONTROLLER_SCRIPT_PARSER_H
#define DEV_CONTROLLER_SCRIPT_PARSER_H

#include <optional>
#include <string_view>
#include <variant>

#include "dev-controller/script.h"

namespace dev_controller {

/// Reads a whole script: one statement a line, `#` begins a comment line. Pure; the first mistake
/// ends it.
[[nodiscard]] std::variant<Script, ScriptError> ParseScript(std::wstring_view text);

/// Reads what follows the word `chatty`: any of threads=N rate=N length=N lines=N. Null on a
/// mistake.
[[nodiscard]] std::optional<Chatter> ParseChatter(std::wstring_view text);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_SCRIPT_PARSER_H
