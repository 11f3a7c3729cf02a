#ifndef DEV_CONTROLLER_SCRIPT_SOURCE_H
#define DEV_CONTROLLER_SCRIPT_SOURCE_H

#include <optional>
#include <string>
#include <variant>

#include "dev-controller/platform.h"
#include "dev-controller/script.h"

namespace dev_controller {

/// Finds and reads this process's script: the file that ORRIN_CTRL_SCRIPT names, else
/// orrin-ctrl.script beside `module`, else an empty healthy script with the load that
/// ORRIN_CTRL_CHATTY asks for. The transcript's path comes back complete, and
/// ORRIN_CTRL_TRANSCRIPT goes before the script's own.
[[nodiscard]] std::variant<Script, ScriptError> LoadScript(HMODULE module);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_SCRIPT_SOURCE_H
