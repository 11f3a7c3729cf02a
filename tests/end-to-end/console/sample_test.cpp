// `-run -test`: the sample next to the service, its copy and its end.

#include <gmock/gmock.h>

#include <regex>

#include "tests/end-to-end/console/console_run.h"
#include "tests/end-to-end/support/process_use.h"
#include "tests/end-to-end/support/remote_call.h"

namespace {

using namespace test;

const Records ServedBody = {ComReady, Working,   StartBegun, StartOver,
                            CtrlC,    StopBegun, StopOver,   Freed};

bool IsCopyName(const std::wstring& name) {
    return std::regex_match(name, std::wregex(L"[a-z]{12}probe-plain\\.exe"));
}

std::vector<std::wstring> CopiesIn(const HostFolder& host) {
    std::vector<std::wstring> copies;
    for (const auto& entry : std::filesystem::directory_iterator(host.Path())) {
        if (IsCopyName(entry.path().filename().wstring())) {
            copies.push_back(entry.path().filename().wstring());
        }
    }
    return copies;
}

/// Waits for the start of the sample, whose only trace is its process.
framework::KernelHandle AwaitSample(const HostFolder& host) {
    constexpr int Polls = 1500;
    constexpr DWORD PollMs = 20;
    for (int poll = 0; poll < Polls; ++poll) {
        const std::vector<std::wstring> copies = CopiesIn(host);
        if (!copies.empty()) {
            framework::KernelHandle process = ProcessNamed(copies.front());
            if (process) {
                return process;
            }
        }
        ::Sleep(PollMs);
    }
    throw std::runtime_error("the sample was not started in time");
}

bool IsRunning(const framework::KernelHandle& process) {
    return ::WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT;
}

/// Stops the run like a console event, without sending one to the sample.
void StopHostAlone(const HostFolder& host, const ConsoleRun& run) {
    const TranscriptEntry call =
        host.ReadTranscript().With("import", "SetConsoleCtrlHandler").front();
    EXPECT_EQ(CallRemotely(run.Process().Process(), call.Number("arg1"), CTRL_CLOSE_EVENT), 1U);
}

TEST(Sample, RunsUntilTheServiceHasStopped_AndItsCopyIsDeleted) {
    const HostFolder host;
    const SharedEvent deactivating(host, "deactivating");
    const SharedEvent goOn(host, "go-on");
    host.Script("trace-import SetConsoleCtrlHandler\non deactivate set-event " +
                deactivating.Name() + "\non deactivate wait-event " + goOn.Name() + " 30000\n");
    ConsoleRun run(host, L"-run -test");
    const framework::KernelHandle sample = AwaitSample(host);
    EXPECT_EQ(CopiesIn(host).size(), 1U);
    StopHostAlone(host, run);
    ASSERT_TRUE(deactivating.Wait());
    EXPECT_TRUE(IsRunning(sample)) << "the service is stopped before the sample";
    goOn.Set();
    EXPECT_EQ(run.Wait(), 0U);
    EXPECT_FALSE(IsRunning(sample));
    DWORD exitCode = 1;
    EXPECT_NE(::GetExitCodeProcess(sample.Get(), &exitCode), FALSE);
    EXPECT_EQ(exitCode, 0U);
    EXPECT_THAT(CopiesIn(host), testing::IsEmpty());
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(host.OnlyLog(), run.Expected(ServedBody));
}

TEST(Sample, TwoRunsInARow_LeaveNoCopyAndUseDifferentNames) {
    const HostFolder host;
    std::vector<std::wstring> names;
    for (int round = 0; round < 2; ++round) {
        ConsoleRun run(host, L"-run -test");
        const framework::KernelHandle sample = AwaitSample(host);
        names.push_back(CopiesIn(host).at(0));
        run.Interrupt();
        EXPECT_EQ(run.Wait(), 0U);
        EXPECT_FALSE(IsRunning(sample));
        EXPECT_EQ(run.Output(), "");
        EXPECT_THAT(CopiesIn(host), testing::IsEmpty());
    }
    EXPECT_NE(names[0], names[1]);
}

TEST(Sample, Missing_IsPrintedAndTheRunGoesOn) {
    const HostFolder host;
    host.Script("");
    std::filesystem::remove(host.Path() / L"probe-plain.exe");
    ConsoleRun run(host, L"-run -test");
    EXPECT_EQ(run.ServeAndStop(), 0U);
    EXPECT_THAT(run.Output(), testing::MatchesRegex(
                                  "CreateProcess \\(............probe-plain\\.exe\\) failed with "
                                  "error \\(2\\)\\.\r\nDeleteFile error: 2\r\n"));
    EXPECT_EQ(host.OnlyLog(), run.Expected(ServedBody));
}

TEST(Sample, WithoutTestFlag_IsNotTouched) {
    const HostFolder host;
    host.Script("trace-import CopyFileW\ntrace-import CreateProcessW\n");
    ConsoleRun run(host);
    EXPECT_EQ(run.ServeAndStop(), 0U);
    EXPECT_THAT(host.ReadTranscript().With("import", "CopyFileW"), testing::IsEmpty());
    EXPECT_THAT(host.ReadTranscript().With("import", "CreateProcessW"), testing::IsEmpty());
}

TEST(Sample, CopyMayOverwrite_CommandLineIsTheBareName) {
    const HostFolder host;
    host.Script("trace-import CopyFileW\ntrace-import CreateProcessW\n");
    ConsoleRun run(host, L"-run -test");
    const framework::KernelHandle sample = AwaitSample(host);
    run.Interrupt();
    EXPECT_EQ(run.Wait(), 0U);
    const Transcript transcript = host.ReadTranscript();
    EXPECT_EQ(transcript.With("import", "CopyFileW").at(0).Number("arg3") & 0xFFFFFFFF, 0U);
    EXPECT_EQ(transcript.With("import", "CreateProcessW").at(0).Number("arg1"), 0U);
}

TEST(Sample, PathOfExecutableUnknown_IsPrintedWithItsOwnWording) {
    const HostFolder host;
    // The first call is the log header's; the sample's come after it.
    host.Script("trace-import GetModuleFileNameW\nfail-import GetModuleFileNameW 2+ 5\n");
    ConsoleRun run(host, L"-run -test");
    EXPECT_EQ(run.ServeAndStop(), 0U);
    EXPECT_THAT(run.Output(), testing::StartsWith("FindResource error: 5\r\nCreateProcess ("));
    EXPECT_THAT(run.Output(),
                testing::EndsWith(").\r\nFindResource error: 5\r\nDeleteFile error: 3\r\n"));
}

}  // namespace
