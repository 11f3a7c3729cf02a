#ifndef TOOLS_CONTROLLER_CHECK_ROUND_PROCESS_H
#define TOOLS_CONTROLLER_CHECK_ROUND_PROCESS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/controller-check/options.h"
#include "tools/controller-check/story.h"

namespace controller_check {

/// Plays one round in a process of its own and waits for its end, which is forced if a call takes
/// too long. `library` is a full path. Throws `std::system_error` if there is no such process.
[[nodiscard]] Story RunRound(Round round, const std::wstring& library, const Options& options);

/// Plays a round if this process was started by `RunRound`, and returns the exit code then.
[[nodiscard]] std::optional<int> ServeAsRound(const std::vector<std::wstring>& arguments);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_ROUND_PROCESS_H
