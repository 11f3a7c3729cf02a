// The service mode in a process that the SCM has not started, with the platform's real dispatcher.
// On Wine such a process connects to any service that is being started at that moment, and takes
// its place. This test runs alone.

#include <gmock/gmock.h>

#include "tests/end-to-end/support/host_folder.h"

namespace {

TEST(NoArgument, FromAConsole_RealDispatcherFailsInTheEnd) {
    const test::HostFolder host;
    host.Script("");
    const auto process = host.Start();
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_EQ(process->Output(), "");
    EXPECT_THAT(host.ReadTranscript().Calls(), testing::ElementsAre("create", "free"));
}

}  // namespace
