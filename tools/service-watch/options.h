#ifndef TOOLS_SERVICE_WATCH_OPTIONS_H
#define TOOLS_SERVICE_WATCH_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tools/shared/option_walk.h"

namespace service_watch {

struct Options {
    bool removeOnly = false;
    bool color = false;
    std::optional<std::uint32_t> seconds;  ///< how long to watch; by default until Ctrl+C
    std::wstring systemDrive;              ///< printed instead of "C:"; empty for "C:" itself
    std::wstring serviceName;
    std::wstring image;  ///< path of the executable; empty with `removeOnly`
};

/// Parses the arguments after the program's name.
[[nodiscard]] std::variant<Options, tools::OptionError> ParseOptions(
    const std::vector<std::wstring>& arguments);

/// The help text.
[[nodiscard]] const char* UsageText() noexcept;

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_OPTIONS_H
