// The resource use of a long-running host must not grow with the library's calls.

#include <gmock/gmock.h>

#include "tests/end-to-end/console/console_run.h"
#include "tests/end-to-end/support/process_use.h"

namespace {

using namespace test;

TEST(SteadyState, ThousandRoundsOfEveryCallback_GrowNeitherHandlesNorThreads) {
    const HostFolder host;
    const SharedEvent warm(host, "warm");
    const SharedEvent goOn(host, "go-on");
    const SharedEvent done(host, "done");
    const SharedEvent finish(host, "finish");
    host.Script(
        "routine round register\n"
        "routine round enable-stop\n"
        "routine round interrupt\n"
        "routine round set-callback null\n"
        "routine round remove-callback\n"
        "routine round flush\n"
        "routine round log verbose null dropped\n"
        "routine round log trace null written\n"
        // Opened by the library before the first measurement.
        "on load wait-event " +
        done.Name() + " 0\non load wait-event " + finish.Name() +
        " 0\n"
        "on activate repeat 10 call round\n"
        "on activate set-event " +
        warm.Name() + "\non activate wait-event " + goOn.Name() +
        " 60000\non activate repeat 1000 call round\non activate set-event " + done.Name() +
        "\non activate wait-event " + finish.Name() + " 60000\non activate return 5\n");
    const auto process = host.Start(L"-run");
    ASSERT_TRUE(warm.Wait());
    const ProcessUse before = SettledUse(process->Process());
    EXPECT_GE(before.threads, 1U);
    EXPECT_GE(before.handles, 1U);
    goOn.Set();
    ASSERT_TRUE(done.Wait(60000));
    EXPECT_EQ(AwaitUse(process->Process(), before), before);
    finish.Set();
    EXPECT_EQ(process->Wait(), 0U);
}

}  // namespace
