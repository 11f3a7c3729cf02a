#include "tools/controller-check/story.h"

#include <gtest/gtest.h>

#include "tests/tools/controller-check/story_builder.h"

namespace controller_check {
namespace {

TEST(Story, Code_IsThatOfTheFirstReturn) {
    const Story story =
        StoryBuilder().Did(Call::Deactivate, 4).Did(Call::Deactivate, 5).Enter(Call::Free).Get();
    EXPECT_EQ(story.Code(Call::Deactivate), 4);
    EXPECT_FALSE(story.Code(Call::Free));
    EXPECT_TRUE(story.Entered(Call::Free));
    EXPECT_FALSE(story.Entered(Call::Create));
}

TEST(Story, OpenCalls_AreThoseWithoutAReturn) {
    EXPECT_EQ(StoryBuilder().Started().Get().OpenCalls(), L"");
    EXPECT_EQ(StoryBuilder()
                  .Did(Call::Create)
                  .Enter(Call::LoadAddons)
                  .Enter(Call::NotifyOnStop)
                  .Get()
                  .OpenCalls(),
              L"LoadAddons and NotifyOnStop");
}

/// A failed start and a concurrent stop, both in `Deactivate`.
StoryBuilder TwoInDeactivate() {
    return StoryBuilder(Round::Shutdown)
        .On(1)
        .Enter(Call::Deactivate)
        .On(2)
        .Enter(Call::Deactivate)
        .Add(EventKind::Returned, Call::Deactivate);
}

TEST(Story, SameCallOnTwoThreads_IsOpenUntilBothHaveReturned) {
    EXPECT_EQ(TwoInDeactivate().Get().OpenCalls(), L"Deactivate");
    EXPECT_TRUE(TwoInDeactivate().Get().IsOpen(Call::Deactivate));
    const Story both = TwoInDeactivate().On(1).Add(EventKind::Returned, Call::Deactivate).Get();
    EXPECT_EQ(both.OpenCalls(), L"");
    EXPECT_FALSE(both.IsOpen(Call::Deactivate));
}

TEST(FindOverdue, SameCallOnTwoThreads_CountsForEach) {
    EXPECT_EQ(FindOverdue(TwoInDeactivate().Get().events, 0, 200, 100, 1000), Call::Deactivate);
}

TEST(FindOverdue, OpenCall_IsOverdueAfterTheLimitAndNotAtIt) {
    // The entry is at 1.
    const auto events = StoryBuilder().Enter(Call::Create).Get().events;
    EXPECT_FALSE(FindOverdue(events, 0, 101, 100, 10));
    EXPECT_EQ(FindOverdue(events, 0, 102, 100, 10), Call::Create);
}

TEST(FindOverdue, CallThatReturned_IsNot) {
    const auto events = StoryBuilder().Did(Call::Create).Get().events;
    EXPECT_FALSE(FindOverdue(events, 0, 500, 100, 1000));
}

TEST(FindOverdue, SecondOfTwoCalls_IsNamed) {
    const auto events =
        StoryBuilder().Enter(Call::LoadAddons).Did(Call::NotifyOnStop).Enter(Call::Deactivate);
    EXPECT_EQ(FindOverdue(events.Get().events, 0, 200, 100, 1000), Call::LoadAddons);
    const auto laterEvents = StoryBuilder()
                                 .Enter(Call::LoadAddons)
                                 .Enter(Call::NotifyOnStop)
                                 .Add(EventKind::Returned, Call::LoadAddons);
    EXPECT_EQ(FindOverdue(laterEvents.Get().events, 0, 200, 100, 1000), Call::NotifyOnStop);
}

TEST(FindOverdue, NothingOpenForLong_IsNamedAsSuch) {
    const auto events = StoryBuilder().Did(Call::Create).Get().events;
    EXPECT_FALSE(FindOverdue(events, 0, 1002, 100, 1000));
    EXPECT_EQ(FindOverdue(events, 0, 1003, 100, 1000), Call::None);
}

TEST(FindOverdue, NoEventAtAll_CountsFromTheStart) {
    EXPECT_FALSE(FindOverdue({}, 50, 1050, 100, 1000));
    EXPECT_EQ(FindOverdue({}, 50, 1051, 100, 1000), Call::None);
}

}  // namespace
}  // namespace controller_check
