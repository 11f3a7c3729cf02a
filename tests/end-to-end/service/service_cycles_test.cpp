// Many starts and stops, and many controls in one life: nothing may grow.

#include <gmock/gmock.h>

#include "tests/end-to-end/service/service_run.h"
#include "tests/end-to-end/support/process_use.h"

namespace {

using namespace test;
using testing::ElementsAre;

TEST(ServiceCycles, TwentyStartsAndStops_EachProcessUsesTheSameAndEndsWithZero) {
    ServiceRun run("on activate enable-stop\n");
    run.Start();
    const ProcessUse first = SettledUse(run.Scm().Process());
    EXPECT_GE(first.handles, 1U);
    EXPECT_GE(first.threads, 2U);
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    for (int cycle = 2; cycle <= 20; ++cycle) {
        run.StartAgain();
        EXPECT_EQ(AwaitUse(run.Scm().Process(), first), first) << cycle;
        ASSERT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0)) << cycle;
    }
    EXPECT_EQ(run.Scm().Logs().size(), 20U);
    EXPECT_EQ(run.ReadTranscript().With("call", "free").size(), 40U) << "entered and left";
}

TEST(ServiceCycles, HundredsOfControlsInOneLife_GrowNothing) {
    constexpr int Rounds = 200;
    ServiceRun run("on activate enable-stop\n");
    run.Start();
    for (int warmUp = 0; warmUp < 5; ++warmUp) {
        EXPECT_EQ(run.Scm().Control(SERVICE_CONTROL_INTERROGATE), 0U);
    }
    const ProcessUse before = SettledUse(run.Scm().Process());
    for (int round = 0; round < Rounds; ++round) {
        ASSERT_EQ(run.Scm().Control(SERVICE_CONTROL_INTERROGATE), 0U);
        ASSERT_EQ(run.Scm().Control(200), 0U);
    }
    EXPECT_EQ(AwaitUse(run.Scm().Process(), before), before);
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    EXPECT_EQ(run.ReadTranscript().StatusReports().size(), 3U + 5U + Rounds + 2U);
}

}  // namespace
