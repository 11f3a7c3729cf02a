// The calls and records that a library sees in each round, recorded by the development controller.

#include <gmock/gmock.h>

#include "tests/end-to-end/support/transcript.h"
#include "tests/tools/controller-check/check_run.h"

namespace {

using testing::ElementsAre;

/// The transcript of one round with a library that is healthy except for these lines.
test::Transcript Play(const std::wstring& options, const std::string& lines = "") {
    const test::CheckRun check(L"orrin-ctrl.dll");
    check.Script("transcript seen.txt\n" + lines);
    static_cast<void>(check.Run(options));
    return test::Transcript(test::ReadBytes(check.Folder() / L"seen.txt"));
}

/// The host's calls, without registrations, which the library requests.
std::vector<std::string> CallsOf(const test::Transcript& transcript) {
    std::vector<std::string> calls = transcript.Calls();
    std::erase(calls, "register-interface");
    return calls;
}

std::string ThreadOf(const test::Transcript& transcript, const std::string& call) {
    return transcript.With("call", call).front().Get("tid");
}

TEST(ServiceRound, CallsAndThreads_AreThoseOfTheHost) {
    const test::Transcript seen = Play(L"--round service");
    EXPECT_THAT(CallsOf(seen),
                ElementsAre("create", "load", "activate", "notify", "deactivate", "free"));
    EXPECT_EQ(ThreadOf(seen, "free"), ThreadOf(seen, "create"));
    EXPECT_EQ(ThreadOf(seen, "activate"), ThreadOf(seen, "load"));
    EXPECT_EQ(ThreadOf(seen, "deactivate"), ThreadOf(seen, "notify"));
    EXPECT_NE(ThreadOf(seen, "load"), ThreadOf(seen, "create"));
    EXPECT_NE(ThreadOf(seen, "notify"), ThreadOf(seen, "create"));
    EXPECT_EQ(seen.With("host", "enable-stop").back().Get("result"), "0");
}

TEST(ServiceRound, Records_AreThoseOfTheHost) {
    const test::Transcript seen = Play(L"--round service");
    const test::TranscriptEntry out = seen.Only("create-out", "controller");
    EXPECT_EQ(out.Number("offset-from-context"), 8U);
    EXPECT_EQ(out.Number("null-at-call"), 1U);
    const test::TranscriptEntry params = seen.With("record", "params").front();
    EXPECT_EQ(params.Number("version"), 2U);
    EXPECT_EQ(params.Number("offset-from-context"), 16U);
    const auto components = seen.With("record", "component");
    ASSERT_EQ(components.size(), 2U);
    EXPECT_EQ(components[0].Get("name"), "Quillon");
    EXPECT_EQ(components[0].Number("offset-from-context"), 96U);
    const test::TranscriptEntry interaction = seen.Only("record", "interaction");
    const test::TranscriptEntry exception = seen.Only("record", "exception");
    EXPECT_LT(interaction.Number("seq"), exception.Number("seq"));
    EXPECT_EQ(interaction.Number("offset-from-context"), 184U);
    EXPECT_EQ(exception.Number("offset-from-context"), 240U);
    EXPECT_EQ(interaction.Get("version"), "0x1");
    EXPECT_EQ(exception.Get("context"), params.Get("context"));
}

TEST(ConsoleRound, AllCalls_ComeOnOneThreadAndNoManagerIsThere) {
    const test::Transcript seen = Play(L"--round console");
    EXPECT_THAT(CallsOf(seen),
                ElementsAre("create", "load", "activate", "notify", "deactivate", "free"));
    for (const std::string& call : CallsOf(seen)) {
        EXPECT_EQ(ThreadOf(seen, call), ThreadOf(seen, "create")) << call;
    }
    EXPECT_EQ(seen.With("host", "enable-stop").back().Get("result"), "6");
}

TEST(ForcedStopRound, FreeComesWithoutAStop) {
    EXPECT_THAT(CallsOf(Play(L"--round forced-stop")),
                ElementsAre("create", "load", "activate", "free"));
}

TEST(NoStartRound, Repeated_IsAProcessEachTime) {
    const test::Transcript seen = Play(L"--round no-start --repeat 2");
    EXPECT_THAT(CallsOf(seen), ElementsAre("create", "free", "create", "free"));
    const auto creates = seen.With("call", "create");
    EXPECT_NE(creates.front().Get("pid"), creates.back().Get("pid"));
}

TEST(UnpackRound, LogSinkIsAllThatIsGiven) {
    const test::Transcript seen = Play(L"--round unpack");
    EXPECT_THAT(CallsOf(seen), ElementsAre("bootstrap"));
    const test::TranscriptEntry params = seen.Only("record", "params");
    EXPECT_EQ(params.Number("version"), 0U);
    EXPECT_NE(params.Number("OrrinLoggingCallback"), 0U);
    EXPECT_EQ(params.Number("LogFlush"), 0U);
    EXPECT_EQ(params.Number("context"), 0U);
}

TEST(ServiceRound, Failures_AreFollowedByWhatTheHostDoesThen) {
    EXPECT_THAT(CallsOf(Play(L"--round service", "on create return 5\n")), ElementsAre("create"));
    EXPECT_THAT(CallsOf(Play(L"--round service", "on load return 5\n")),
                ElementsAre("create", "load", "free"));
    EXPECT_THAT(CallsOf(Play(L"--round service", "on activate return 5\n")),
                ElementsAre("create", "load", "activate", "deactivate", "free"));
    EXPECT_THAT(
        CallsOf(Play(L"--round service", "on activate return 3\non deactivate return 0\n")),
        ElementsAre("create", "load", "activate", "deactivate", "notify", "deactivate", "free"));
    EXPECT_THAT(CallsOf(Play(L"--round service", "on notify return 5\n")),
                ElementsAre("create", "load", "activate", "notify", "free"));
}

TEST(Interrupt, EndsAServiceWithoutAStopAndAConsoleRunNot) {
    EXPECT_THAT(CallsOf(Play(L"--round service", "on activate interrupt\n")),
                ElementsAre("create", "load", "activate", "free"));
    EXPECT_THAT(CallsOf(Play(L"--round console", "on activate interrupt\n")),
                ElementsAre("create", "load", "activate", "notify", "deactivate", "free"));
}

TEST(ShutdownRound, StartAndStop_ComeOnTwoThreads) {
    // Loading waits for the stop, so the stop must not wait for loading.
    const test::Transcript seen = Play(L"--round shutdown",
                                       "on load wait-event Local\\controller-check-stop 20000\n"
                                       "on notify set-event Local\\controller-check-stop\n");
    const std::vector<std::string> calls = CallsOf(seen);
    EXPECT_EQ(calls.front(), "create");
    EXPECT_EQ(calls.back(), "free");
    const test::TranscriptEntry notify = seen.With("call", "notify").front();
    const test::TranscriptEntry loaded = seen.With("call", "load").back();
    EXPECT_LT(notify.Number("seq"), loaded.Number("seq"));
    EXPECT_NE(notify.Get("tid"), loaded.Get("tid"));
}

}  // namespace
