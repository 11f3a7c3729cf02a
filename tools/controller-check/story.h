#ifndef TOOLS_CONTROLLER_CHECK_STORY_H
#define TOOLS_CONTROLLER_CHECK_STORY_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/controller-check/event.h"
#include "tools/controller-check/round.h"

namespace controller_check {

/// All that is known of a round once its process is gone.
struct Story {
    Round round = Round::Service;
    std::vector<Event> events;  ///< in their order
    std::uint32_t logLines = 0;
    std::uint32_t limit = 0;      ///< milliseconds that a call may take
    std::optional<Call> overdue;  ///< the call that took longer; `None`: something between calls
    std::uint32_t exitCode = 0;   ///< means nothing if a call is overdue

    [[nodiscard]] const Event* First(EventKind kind) const;
    [[nodiscard]] bool Has(EventKind kind) const { return First(kind) != nullptr; }
    [[nodiscard]] const Event* FirstHostCall(HostFunction function) const;
    [[nodiscard]] bool Entered(Call call) const;
    /// What the first of these calls gave; null if it didn't return.
    [[nodiscard]] std::optional<std::int64_t> Code(Call call) const;
    /// The place of the first return of `call` among the events; their number if there is none.
    [[nodiscard]] std::size_t PlaceOfReturn(Call call) const;
    /// Whether a thread has begun `call` and not returned from it.
    [[nodiscard]] bool IsOpen(Call call) const;
    /// The calls that have begun and not returned, "LoadAddons and NotifyOnStop"; empty if none.
    [[nodiscard]] std::wstring OpenCalls() const;
};

/// The call that has been running for longer than `limit`, or `None` if nothing at all has happened
/// for `quietLimit`. Both in milliseconds. Null if there is nothing to complain of.
[[nodiscard]] std::optional<Call> FindOverdue(const std::vector<Event>& events, std::uint64_t start,
                                              std::uint64_t now, std::uint64_t limit,
                                              std::uint64_t quietLimit);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_STORY_H
