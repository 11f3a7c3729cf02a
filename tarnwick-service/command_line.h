#ifndef TARNWICK_SERVICE_COMMAND_LINE_H
#define TARNWICK_SERVICE_COMMAND_LINE_H

#include <cstdint>

namespace tarnwick {

enum class RunMode { Usage = 0, Service = 1, Console = 2, Dump = 3, Unpack = 4 };

/// The parsed arguments. The texts point into the argument vector.
struct CommandLine {
    RunMode mode = RunMode::Usage;
    bool test = false;
    bool logConsole = false;
    std::uint32_t sleepSeconds = 0;
    const wchar_t* processIdText = nullptr;
    const wchar_t* threadIdText = nullptr;
    const wchar_t* exceptionInformationText = nullptr;
    /// The error to print, or null. With an error the mode is `Usage`; options before the error
    /// still count.
    const wchar_t* error = nullptr;
};

/// Parses the arguments. No argument means the service mode. Options begin with '-' or '/' and
/// ignore case. The last mode, count and dump texts win. Unknown options are skipped.
///
/// `-sleep` as the last argument ends the process (`FailFastInvalidParameter`), and `-dump` with
/// two values leaves the third text null.
[[nodiscard]] CommandLine ParseCommandLine(int argc, const wchar_t* const* argv);

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_COMMAND_LINE_H
