#include "dev-controller/thread_group.h"

#include <gtest/gtest.h>

#include <atomic>

namespace dev_controller {
namespace {

TEST(ThreadGroup, Join_WaitsForEveryThread) {
    ThreadGroup threads;
    std::atomic<int> done = 0;
    for (int i = 0; i < 8; ++i) {
        ASSERT_EQ(threads.Start([&] { ++done; }), 0U);
    }
    EXPECT_TRUE(threads.Join(10000));
    EXPECT_EQ(done, 8);
}

TEST(ThreadGroup, Join_GivesUpAfterTheLimitAndMayBeTriedAgain) {
    ThreadGroup threads;
    const Handle go(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    ASSERT_EQ(threads.Start([&] { WaitForSingleObject(go.Get(), 10000); }), 0U);
    EXPECT_FALSE(threads.Join(0));
    SetEvent(go.Get());
    EXPECT_TRUE(threads.Join(10000));
}

TEST(ThreadGroup, Join_DoesNotWaitForTheCaller) {
    ThreadGroup threads;
    const Handle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::atomic<bool> joined = false;
    ASSERT_EQ(threads.Start([&] {
        joined = threads.Join(10000);
        SetEvent(done.Get());
    }),
              0U);
    ASSERT_EQ(WaitForSingleObject(done.Get(), 5000), WAIT_OBJECT_0);
    EXPECT_TRUE(joined);
}

TEST(ThreadGroup, Join_LeavesDetachedThreadsAlone) {
    ThreadGroup threads;
    const Handle go(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const Handle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const auto work = [&] {
        WaitForSingleObject(go.Get(), 10000);
        SetEvent(done.Get());
    };
    ASSERT_EQ(threads.Start(work, false), 0U);
    EXPECT_TRUE(threads.Join(0));
    SetEvent(go.Get());
    EXPECT_EQ(WaitForSingleObject(done.Get(), 10000), WAIT_OBJECT_0);
}

}  // namespace
}  // namespace dev_controller
