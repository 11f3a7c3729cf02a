#ifndef DEV_CONTROLLER_IMPORT_HOOKS_H
#define DEV_CONTROLLER_IMPORT_HOOKS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "dev-controller/script.h"
#include "dev-controller/transcript.h"

namespace dev_controller {

/// Runs the body of a `before-import` line on the calling thread.
using RunActions = std::function<void(const Actions&)>;

/// Replaces the executable's imports named by the rules, so that chosen calls fail, are recorded or
/// run actions first. At most 32 functions with at most 12 integer or pointer arguments each. Call
/// once; `transcript` must live as long as the process. Returns an error text, or null.
///
/// During the actions of a rule, calls on the same thread are neither changed nor counted: an
/// action may log, and logging may call the rule's function.
[[nodiscard]] std::optional<std::wstring> InstallImportHooks(const std::vector<ImportRule>& rules,
                                                             Transcript& transcript,
                                                             RunActions runActions);

/// The default result of `function` when it fails with `error`.
[[nodiscard]] std::uint64_t FailureResult(const std::string& function, std::uint32_t error);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_IMPORT_HOOKS_H
