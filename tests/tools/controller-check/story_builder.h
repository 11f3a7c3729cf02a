/// Builds the events of a round.
#ifndef TESTS_TOOLS_CONTROLLER_CHECK_STORY_BUILDER_H
#define TESTS_TOOLS_CONTROLLER_CHECK_STORY_BUILDER_H

#include <algorithm>
#include <string_view>

#include "tools/controller-check/story.h"

namespace controller_check {

/// Each event is one millisecond after the previous one.
class StoryBuilder {
  public:
    explicit StoryBuilder(Round round = Round::Service) { story_.round = round; }

    StoryBuilder& Add(EventKind kind, Call call = Call::None, std::int64_t code = 0,
                      std::wstring_view text = {}) {
        Event event = {};
        event.kind = kind;
        event.call = call;
        event.code = code;
        event.tick = ++tick_;
        event.thread = thread_;
        std::copy(text.begin(), text.end(), event.text.begin());
        story_.events.push_back(event);
        return *this;
    }
    /// Sets the thread of the next events.
    StoryBuilder& On(std::uint32_t thread) {
        thread_ = thread;
        return *this;
    }
    StoryBuilder& Enter(Call call) { return Add(EventKind::Entered, call); }
    StoryBuilder& Did(Call call, std::int64_t code = 0) {
        return Enter(call).Add(EventKind::Returned, call, code);
    }
    StoryBuilder& Called(HostFunction function) {
        Add(EventKind::HostCalled);
        story_.events.back().function = function;
        return *this;
    }
    StoryBuilder& Ended(std::uint32_t exitCode) {
        story_.exitCode = exitCode;
        return *this;
    }
    StoryBuilder& Overdue(Call call) {
        story_.overdue = call;
        story_.limit = 1500;
        return *this;
    }
    StoryBuilder& Logged(std::uint32_t lines) {
        story_.logLines = lines;
        return *this;
    }
    /// Adds the events up to an active library.
    StoryBuilder& Started() {
        return Did(Call::Attach)
            .Did(Call::Create)
            .Called(HostFunction::Register)
            .Did(Call::LoadAddons)
            .Did(Call::Activate);
    }
    StoryBuilder& Stopped() { return Did(Call::NotifyOnStop).Did(Call::Deactivate); }
    StoryBuilder& Freed() {
        return Did(Call::Free).Add(EventKind::Watched).Enter(Call::ProcessEnd);
    }

    [[nodiscard]] const Story& Get() const { return story_; }

  private:
    Story story_;
    std::uint64_t tick_ = 0;
    std::uint32_t thread_ = 1;
};

}  // namespace controller_check

#endif  // TESTS_TOOLS_CONTROLLER_CHECK_STORY_BUILDER_H
