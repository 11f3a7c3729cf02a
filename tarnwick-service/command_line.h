#ifndef TARNWICK_SERVICE_COMMAND_LINE_H
#define TARNWICK_SERVICE_COMMAND_LINE_H

#include <cstdint>

namespace tarnwick {

enum class RunMode { Usage = 0, Service = 1, Console = 2, Dump = 3, Unpack = 4 };

/// What the arguments ask for. The texts point into the argument vector.
struct CommandLine {
    RunMode mode = RunMode::Usage;
    bool test = false;
    bool logConsole = false;
    std::uint32_t sleepSeconds = 0;
    const wchar_t* processIdText = nullptr;
    const wchar_t* threadIdText = nullptr;
    const wchar_t* exceptionInformationText = nullptr;
    /// What to print about a bad line, or null. The mode is then `Usage`; what stood before the
    /// error still counts.
    const wchar_t* error = nullptr;
};

/// Reads the arguments. No argument at all means the service mode. Options begin with '-' or '/'
/// and ignore case; of several modes, counts or dump texts the last one wins; unknown options are
/// skipped.
///
/// `-sleep` as the last argument ends the process (`FailFastInvalidParameter`), and `-dump` with
/// two values leaves the third text null.
[[nodiscard]] CommandLine ParseCommandLine(int argc, const wchar_t* const* argv);

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_COMMAND_LINE_H
