#ifndef TOOLS_SERVICE_WATCH_OPTIONS_H
#define TOOLS_SERVICE_WATCH_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace service_watch {

struct Options {
    bool removeOnly = false;
    bool color = false;
    std::optional<std::uint32_t> seconds;  ///< how long to watch; without it until Ctrl+C
    std::wstring systemDrive;              ///< what to print instead of "C:"; empty for "C:" itself
    std::wstring serviceName;
    std::wstring image;  ///< path of the executable; empty with `removeOnly`
};

/// Reads the arguments behind the program's name. Nothing if they make no sense.
[[nodiscard]] std::optional<Options> ParseOptions(const std::vector<std::wstring>& arguments);

/// What the program takes, in lines.
[[nodiscard]] const char* UsageText() noexcept;

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_OPTIONS_H
