#ifndef DEV_CONTROLLER_ACTION_PARSER_H
#define DEV_CONTROLLER_ACTION_PARSER_H

#include <optional>
#include <string_view>

#include "dev-controller/script.h"
#include "dev-controller/script_words.h"

namespace dev_controller {

/// The context of an action. Directly at a point it may set the result of the call; elsewhere (a
/// thread, a routine, a callback) there is no call to return from.
enum class ActionPlace { Point, Create, Elsewhere };

/// Parses one action up to the end of the line. `words` keeps the error.
[[nodiscard]] Action ParseAction(ScriptWords& words, ActionPlace place);

/// Parses `N`, `N+`, `N-M` or `every`; nothing on an error.
[[nodiscard]] std::optional<CallRange> ParseCallRange(std::wstring_view text);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_ACTION_PARSER_H
