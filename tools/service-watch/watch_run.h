#ifndef TOOLS_SERVICE_WATCH_WATCH_RUN_H
#define TOOLS_SERVICE_WATCH_WATCH_RUN_H

#include "tools/service-watch/options.h"
#include "tools/service-watch/terminal.h"

namespace service_watch {

/// Exit codes of the program.
enum ExitCode : int { ExitSuccess = 0, ExitFailure = 1, ExitUsage = 2 };

/// Registers, starts, watches, stops and removes the service, and prints each step.
[[nodiscard]] ExitCode RunWatched(const Options& options, Terminal& terminal);

/// Removes the service with this name.
[[nodiscard]] ExitCode RemoveRegistered(const Options& options, Terminal& terminal);

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_WATCH_RUN_H
