#ifndef TOOLS_SERVICE_TOOL_OPTIONS_H
#define TOOLS_SERVICE_TOOL_OPTIONS_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "tools/shared/option_walk.h"

namespace service_tool {

enum class Command { None, Install, Check, Status, Stop, Uninstall };

struct Options {
    Command command = Command::None;
    bool help = false;
    bool version = false;
    bool dryRun = false;              ///< install and uninstall: print the changes, make none
    bool removeLogs = false;          ///< uninstall only
    std::uint32_t waitSeconds = 120;  ///< stop and uninstall: for the end of the process
};

using tools::OptionError;

extern const wchar_t* const HelpText;

/// Reads the arguments after the program's name. An option that the command doesn't take is an
/// error.
[[nodiscard]] std::variant<Options, OptionError> ParseOptions(
    const std::vector<std::wstring>& arguments);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_OPTIONS_H
