#include "tools/controller-check/story.h"

#include <algorithm>

namespace controller_check {
namespace {

/// The entries of calls that have not returned. Calls don't nest on a thread, but two threads can
/// make the same call: a failed start and a concurrent stop both call Deactivate.
std::vector<Event> OpenEntries(const std::vector<Event>& events) {
    std::vector<Event> open;
    for (const Event& event : events) {
        if (event.kind == EventKind::Entered) {
            open.push_back(event);
        } else if (event.kind == EventKind::Returned) {
            std::erase_if(open, [&](const Event& entry) {
                return entry.call == event.call && entry.thread == event.thread;
            });
        }
    }
    return open;
}

}  // namespace

const Event* Story::First(EventKind kind) const {
    const auto found = std::find_if(events.begin(), events.end(),
                                    [&](const Event& event) { return event.kind == kind; });
    return found == events.end() ? nullptr : &*found;
}

const Event* Story::FirstHostCall(HostFunction function) const {
    const auto found = std::find_if(events.begin(), events.end(), [&](const Event& event) {
        return event.kind == EventKind::HostCalled && event.function == function;
    });
    return found == events.end() ? nullptr : &*found;
}

bool Story::Entered(Call call) const {
    return std::any_of(events.begin(), events.end(), [&](const Event& event) {
        return event.kind == EventKind::Entered && event.call == call;
    });
}

std::optional<std::int64_t> Story::Code(Call call) const {
    const std::size_t place = PlaceOfReturn(call);
    return place == events.size() ? std::nullopt : std::optional(events[place].code);
}

std::size_t Story::PlaceOfReturn(Call call) const {
    const auto found = std::find_if(events.begin(), events.end(), [&](const Event& event) {
        return event.kind == EventKind::Returned && event.call == call;
    });
    return static_cast<std::size_t>(found - events.begin());
}

bool Story::IsOpen(Call call) const {
    const std::vector<Event> open = OpenEntries(events);
    return std::any_of(open.begin(), open.end(),
                       [&](const Event& entry) { return entry.call == call; });
}

std::wstring Story::OpenCalls() const {
    std::wstring names;
    for (const Event& entry : OpenEntries(events)) {
        names += (names.empty() ? L"" : L" and ") + std::wstring(NameOf(entry.call));
    }
    return names;
}

std::optional<Call> FindOverdue(const std::vector<Event>& events, std::uint64_t start,
                                std::uint64_t now, std::uint64_t limit, std::uint64_t quietLimit) {
    const std::vector<Event> open = OpenEntries(events);
    for (const Event& entry : open) {
        if (now > entry.tick + limit) {
            return entry.call;
        }
    }
    const std::uint64_t last = events.empty() ? start : events.back().tick;
    return open.empty() && now > last + quietLimit ? std::optional(Call::None) : std::nullopt;
}

}  // namespace controller_check
