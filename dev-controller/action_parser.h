#ifndef DEV_CONTROLLER_ACTION_PARSER_H
#define DEV_CONTROLLER_ACTION_PARSER_H

#include <optional>
#include <string_view>

#include "dev-controller/script.h"
#include "dev-controller/script_words.h"

namespace dev_controller {

/// Where an action stands. Directly at a point it may decide what the call gives back; anywhere
/// else (a thread, a routine, a callback) there is no call to answer.
enum class ActionPlace { Point, Create, Elsewhere };

/// Reads one action up to the end of the line. A mistake is left in `words`.
[[nodiscard]] Action ParseAction(ScriptWords& words, ActionPlace place);

/// `N`, `N+`, `N-M` or `every`. Null if the text is none of these.
[[nodiscard]] std::optional<CallRange> ParseCallRange(std::wstring_view text);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_ACTION_PARSER_H
