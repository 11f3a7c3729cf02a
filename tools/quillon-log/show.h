#ifndef TOOLS_QUILLON_LOG_SHOW_H
#define TOOLS_QUILLON_LOG_SHOW_H

#include "tools/quillon-log/options.h"

namespace quillon_log {

/// The exit codes, as the help text lists them.
enum ExitCode { AllRead = 0, SomethingMissing = 1, WrongCommandLine = 2, NothingThere = 3 };

/// Shows what the options ask for; with `follow` runs until Ctrl+C.
[[nodiscard]] ExitCode ShowLogs(const Options& options);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_SHOW_H
