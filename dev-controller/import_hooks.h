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

/// Replaces the executable's imports that the rules name, so that chosen calls fail, are written
/// down or are preceded by actions. At most 32 functions with at most 12 integer or pointer
/// arguments each. Once a process; `transcript` must live as long as the process. Returns what is
/// wrong, or null.
///
/// While the actions of a rule run, further calls on the same thread go straight through and are
/// not counted: an action may log, and logging may call the function that the rule is for.
[[nodiscard]] std::optional<std::wstring> InstallImportHooks(const std::vector<ImportRule>& rules,
                                                             Transcript& transcript,
                                                             RunActions runActions);

/// What `function` gives back when it fails with `error`, unless a rule says otherwise.
[[nodiscard]] std::uint64_t FailureResult(const std::string& function, std::uint32_t error);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_IMPORT_HOOKS_H
