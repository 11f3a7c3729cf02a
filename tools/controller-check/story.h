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

/// All facts about a round, after its process has ended.
struct Story {
    Round round = Round::Service;
    std::vector<Event> events;  ///< in their order
    std::uint32_t logLines = 0;
    std::uint32_t limit = 0;      ///< of a call, in milliseconds
    std::optional<Call> overdue;  ///< the call over the limit; `None`: between calls
    std::uint32_t exitCode = 0;   ///< invalid if a call is overdue

    [[nodiscard]] const Event* First(EventKind kind) const;
    [[nodiscard]] bool Has(EventKind kind) const { return First(kind) != nullptr; }
    [[nodiscard]] const Event* FirstHostCall(HostFunction function) const;
    [[nodiscard]] bool Entered(Call call) const;
    /// The result of the first such call; nothing if it didn't return.
    [[nodiscard]] std::optional<std::int64_t> Code(Call call) const;
    /// The index of the first return of `call` in the events; their count if there is none.
    [[nodiscard]] std::size_t PlaceOfReturn(Call call) const;
    /// Whether a thread has entered `call` and not returned.
    [[nodiscard]] bool IsOpen(Call call) const;
    /// The calls entered and not returned, "LoadAddons and NotifyOnStop"; empty if none.
    [[nodiscard]] std::wstring OpenCalls() const;
};

/// Returns the call that has been running for longer than `limit`, or `None` if nothing has
/// happened for `quietLimit`, both in milliseconds. Otherwise returns nothing.
[[nodiscard]] std::optional<Call> FindOverdue(const std::vector<Event>& events, std::uint64_t start,
                                              std::uint64_t now, std::uint64_t limit,
                                              std::uint64_t quietLimit);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_STORY_H
