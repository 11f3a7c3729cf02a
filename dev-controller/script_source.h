#ifndef DEV_CONTROLLER_SCRIPT_SOURCE_H
#define DEV_CONTROLLER_SCRIPT_SOURCE_H

#include <optional>
#include <string>
#include <variant>

#include "dev-controller/platform.h"
#include "dev-controller/script.h"

namespace dev_controller {

/// Finds and reads this process's script: the file named by ORRIN_CTRL_SCRIPT, else
/// orrin-ctrl.script in the folder of `module`, else an empty healthy script with the load of
/// ORRIN_CTRL_CHATTY. The result has the transcript's full path; ORRIN_CTRL_TRANSCRIPT overrides
/// the script's.
[[nodiscard]] std::variant<Script, ScriptError> LoadScript(HMODULE module);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_SCRIPT_SOURCE_H
