#ifndef TOOLS_QUILLON_LOG_OPTIONS_H
#define TOOLS_QUILLON_LOG_OPTIONS_H

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tools/quillon-log/record_filter.h"
#include "tools/shared/option_walk.h"

namespace quillon_log {

using tools::ColorChoice;
using tools::OptionError;

struct Options {
    std::wstring folder = L"%ALLUSERSPROFILE%\\Velmora\\Quillon\\Logs";  ///< not expanded yet
    bool follow = false;
    std::optional<std::size_t> lastRecords;  ///< of those that pass
    RecordFilter filter;
    bool json = false;
    ColorChoice color = ColorChoice::WhenTerminal;
    bool help = false;
    bool version = false;
};

/// Reads the arguments behind the program's name. `now` is the present time in UTC.
[[nodiscard]] std::variant<Options, OptionError> ParseOptions(
    const std::vector<std::wstring>& arguments, TimePoint now);

extern const wchar_t* const HelpText;

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_OPTIONS_H
