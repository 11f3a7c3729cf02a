// `-zevrunzip`: one call into the library, with only a log sink.

#include <gmock/gmock.h>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"

namespace {

class UnpackRecord : public testing::TestWithParam<const wchar_t*> {};

TEST_P(UnpackRecord, HoldsTheLogSinkAndZeroesOnly) {
    const test::HostFolder host;
    host.Script("");
    EXPECT_EQ(host.Start(GetParam())->Wait(), 0U);
    const test::Transcript transcript = host.ReadTranscript();
    EXPECT_THAT(transcript.Calls(), testing::ElementsAre("bootstrap"));
    const test::TranscriptEntry params = transcript.Only("record", "params");
    EXPECT_EQ(params.Number("size"), 80U);
    const std::string bytes = params.Get("bytes");
    ASSERT_EQ(bytes.size(), 160U);
    EXPECT_EQ(bytes.substr(0, 16), std::string(16, '0'));
    EXPECT_NE(params.Number("OrrinLoggingCallback"), 0U);
    EXPECT_EQ(bytes.substr(32), std::string(128, '0'));
}

INSTANTIATE_TEST_SUITE_P(CommandLines, UnpackRecord,
                         testing::Values(L"-zevrunzip", L"-zevrunzip -archive /C:\\a.zevr -7",
                                         L"-dump 1 2 3 -test -zevrunzip -sleep 0"));

TEST(UnpackMode, HasNoCom) {
    const test::HostFolder host;
    host.Script("");
    EXPECT_EQ(host.Start(L"-zevrunzip")->Wait(), 0U);
    for (const auto& call : host.ReadTranscript().With("call", "bootstrap")) {
        if (call.Has("phase", "enter")) {
            EXPECT_THAT(call.Get("com"), testing::AnyOf("none", "unloaded"));
        }
    }
}

TEST(UnpackMode, LogSinkWorksFromAnotherThread_ResultIsIgnored) {
    const test::HostFolder host;
    const test::SharedEvent written(host);
    host.Script(
        "routine tell log trace unpacker \"from a thread of its own\"\nroutine tell set-event " +
        written.Name() + "\non bootstrap thread call tell\non bootstrap wait-event " +
        written.Name() +
        " 30000\non bootstrap log error null 100%s done\non bootstrap return 77\n");
    const auto process = host.Start(L"-zevrunzip -archive");
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_EQ(process->Output(), "");
    EXPECT_EQ(host.OnlyLog(),
              test::WholeLog(process->ProcessId(), host.Executable(), {L"-zevrunzip", L"-archive"},
                             {L"[T][unpacker] from a thread of its own", test::E(L"100%s done")}));
}

class UnpackWins : public testing::TestWithParam<const wchar_t*> {};

TEST_P(UnpackWins, OverAnEarlierMode) {
    const test::HostFolder host;
    host.Script("");
    const auto process = host.Start(GetParam());
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_EQ(process->Output(), "");
    EXPECT_THAT(host.ReadTranscript().Calls(), testing::ElementsAre("bootstrap"));
    EXPECT_THAT(host.OnlyLog(), testing::Not(testing::Contains(testing::HasSubstr(L"[E]"))));
}

INSTANTIATE_TEST_SUITE_P(Earlier, UnpackWins,
                         testing::Values(L"-run -zevrunzip", L"-dump 1 2 3 -zevrunzip",
                                         L"/ZevrUnzip"));

}  // namespace
