#ifndef TOOLS_QUILLON_LOG_OPTIONS_H
#define TOOLS_QUILLON_LOG_OPTIONS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tools/quillon-log/record_filter.h"
#include "tools/quillon-log/time_point.h"
#include "tools/shared/option_walk.h"

namespace quillon_log {

using tools::ColorChoice;
using tools::OptionError;

struct Options {
    /// Folders, files, or "-" for standard input. Environment variables are not expanded yet.
    std::vector<std::wstring> operands;
    bool follow = false;
    std::optional<std::uint64_t> lastRecords;  ///< of those that pass
    RecordFilter filter;
    // Records that are shown though they don't match, around each one that does.
    std::uint32_t before = 0;
    std::uint32_t after = 0;
    bool newestFirst = false;
    bool listRuns = false;
    /// Only this run: from the first one, 1, or from the last one, -1.
    std::optional<std::int32_t> run;
    bool lastCrash = false;  ///< only the last run that crashed
    bool json = false;
    bool escape = false;  ///< also where standard output is no terminal
    Clock clock = Clock::Utc;
    std::wstring host;  ///< empty: this computer's name
    ColorChoice color = ColorChoice::WhenTerminal;
    std::wstring cursorFile;
    std::optional<std::wstring> afterCursor;
    bool showCursor = false;
    bool help = false;
    bool version = false;

    [[nodiscard]] bool HasContext() const { return before > 0 || after > 0; }
    [[nodiscard]] bool UsesCursor() const {
        return !cursorFile.empty() || afterCursor || showCursor;
    }
};

/// Reads the arguments after the program's name. `now` is the present time.
[[nodiscard]] std::variant<Options, OptionError> ParseOptions(
    const std::vector<std::wstring>& arguments, TimePoint now);

extern const wchar_t* const HelpText;
extern const wchar_t* const UsualFolder;

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_OPTIONS_H
