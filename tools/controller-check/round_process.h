#ifndef TOOLS_CONTROLLER_CHECK_ROUND_PROCESS_H
#define TOOLS_CONTROLLER_CHECK_ROUND_PROCESS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/controller-check/options.h"
#include "tools/controller-check/story.h"

namespace controller_check {

/// Plays one round in its own process and waits for its end; terminates it if a call takes too
/// long. `library` is a full path. Throws `std::system_error` if the process can't be started.
[[nodiscard]] Story RunRound(Round round, const std::wstring& library, const Options& options);

/// If `RunRound` started this process: plays the round and returns the exit code.
[[nodiscard]] std::optional<int> ServeAsRound(const std::vector<std::wstring>& arguments);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_ROUND_PROCESS_H
