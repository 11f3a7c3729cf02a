// Dumps that can't be written: the log lines, and that the platform's default handling ends the
// process.

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

#include "framework/system/unique_handle.h"
#include "tests/end-to-end/crash/crash_run.h"
#include "tests/end-to-end/crash/minidump_reader.h"

namespace {

using test::AccessViolation;
using test::CrashRun;
using test::E;
using test::FilterText;
using test::Join;
using test::Records;
using test::T;
using ::testing::HasSubstr;

constexpr const char* Crash = "on load crash read\n";
constexpr const char* TraceEnd = "trace-import TerminateProcess\n";

/// How often the host itself has ended its process.
std::size_t OwnEnds(const CrashRun& run) {
    return run.Host().ReadTranscript().With("import", "TerminateProcess").size();
}

TEST(FailedDump, FileOpenInAnotherProcess_IsASharingFailure) {
    CrashRun run;
    run.Script(std::string(TraceEnd) + Crash);
    run.MakeDumpFolder();
    const framework::FileHandle open(::CreateFileW(run.DumpFile().c_str(), GENERIC_READ,
                                                   FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                                   FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(open);
    EXPECT_EQ(run.Run(L"-run"), AccessViolation);
    const std::uint64_t thread = run.CrashingThread();
    EXPECT_EQ(run.CrashRecords(),
              Join({test::PassBegins(thread),
                    test::DumpFailed(thread, L"CreateFileW for file " + run.DumpFile().wstring() +
                                                 L" failed with error 32")}));
    EXPECT_EQ(OwnEnds(run), 0U);
}

TEST(FailedDump, FolderMissing_IsNotMade) {
    CrashRun run;
    run.Script(std::string(TraceEnd) + "on bootstrap crash read\n");
    // Without a log file the folder doesn't exist.
    EXPECT_EQ(run.Run(L"-log-console -zevrunzip"), AccessViolation);
    const std::string thread = std::to_string(run.CrashingThread());
    const std::string path = run.DumpFile().string();
    EXPECT_THAT(run.Output(),
                HasSubstr("[E][quillon] CreateFileW for file " + path + " failed with error 3"));
    EXPECT_THAT(run.Output(), HasSubstr("[E][quillon] ExceptionFilter (Thread " + thread +
                                        "): CreateDumpInThisProcess failed"));
    EXPECT_THAT(run.Output(), HasSubstr("[E][quillon] ExceptionFilter (Thread " + thread +
                                        "): dump creation failed"));
    EXPECT_FALSE(std::filesystem::exists(run.Host().DataFolder() / L"Velmora"));
    EXPECT_EQ(OwnEnds(run), 0U);
}

struct DumpError {
    const char* name;
    const char* error;
    const wchar_t* shown;
};

void PrintTo(const DumpError& error, std::ostream* out) {
    *out << error.name;
}

class FailedWrite : public ::testing::TestWithParam<DumpError> {};

TEST_P(FailedWrite, LeavesTheFileAndTheProcessToThePlatform) {
    CrashRun run;
    run.Script(std::string(TraceEnd) + "fail-import MiniDumpWriteDump every " + GetParam().error +
               "\n" + Crash);
    EXPECT_EQ(run.Run(L"-run"), AccessViolation);
    const std::uint64_t thread = run.CrashingThread();
    EXPECT_EQ(run.CrashRecords(),
              Join({test::PassBegins(thread),
                    test::DumpFailed(thread, std::wstring(L"MiniDumpWriteDump failed with error ") +
                                                 GetParam().shown)}));
    EXPECT_EQ(OwnEnds(run), 0U);
    EXPECT_TRUE(std::filesystem::exists(run.DumpFile()));
}

INSTANTIATE_TEST_SUITE_P(Errors, FailedWrite,
                         ::testing::Values(DumpError{"DiskFull", "112", L"112"},
                                           DumpError{"FlagsRefused", "0x80070057", L"2147942487"}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(FailedDump, WithoutAnError_CountsAsSuccess) {
    CrashRun run;
    run.Script(std::string(TraceEnd) + "fail-import MiniDumpWriteDump every 0\n" + Crash);
    EXPECT_EQ(run.Run(L"-run"), AccessViolation);
    const std::uint64_t thread = run.CrashingThread();
    EXPECT_EQ(run.CrashRecords(),
              Join({test::PassBegins(thread),
                    {T(FilterText(thread, L"start dump creation")),
                     E(L"MiniDumpWriteDump failed with error 0"),
                     T(FilterText(thread, L"successfully finish dump creation"))}}));
    const auto ends = run.Host().ReadTranscript().With("import", "TerminateProcess");
    ASSERT_GE(ends.size(), 1U);
    EXPECT_EQ(ends[0].Number("arg2") & 0xFFFFFFFF, AccessViolation);
}

class FailedDumpOfACppException : public ::testing::TestWithParam<const char*> {};

TEST_P(FailedDumpOfACppException, IsLeftToThePlatform) {
    if (!test::HasFilterFrame) {
        GTEST_SKIP() << "a host built by GCC has no filter frame";
    }
    CrashRun run;
    run.Script(std::string(TraceEnd) + "fail-import MiniDumpWriteDump every 112\n" + GetParam());
    EXPECT_EQ(run.Run(L"-run"), test::CppException);
    const std::uint64_t thread = run.CrashingThread();
    EXPECT_EQ(run.CrashRecords(),
              Join({test::PassBegins(thread),
                    test::DumpFailed(thread, L"MiniDumpWriteDump failed with error 112")}));
    EXPECT_EQ(OwnEnds(run), 0U);
}

INSTANTIATE_TEST_SUITE_P(Places, FailedDumpOfACppException,
                         ::testing::Values("on load crash cpp\n",
                                           "on load return 5\non free crash cpp\n"),
                         [](const auto& test) {
                             return std::string(test.index == 0 ? "LoadAddons" : "Free");
                         });

const wchar_t* const HeapLine = L"VectoredExceptionProcessing occured for heap corruption";

TEST(FailedDump, AfterHeapCorruption_HasASecondPassWithTheCallback) {
    CrashRun run;
    run.Script(std::string(TraceEnd) +
               "fail-import MiniDumpWriteDump every 112\n"
               "on load register\n"
               "on load set-callback log trace default last-word\n"
               "on load crash heap-corruption\n");
    EXPECT_EQ(run.Run(L"-run"), test::HeapCorruption);
    const std::uint64_t thread = run.CrashingThread();
    const Records pass =
        Join({test::PassBegins(thread),
              {T(FilterText(thread, L"PreActionCallback starts")), L"[T][dev-controller] last-word",
               T(FilterText(thread, L"PreActionCallback finished"))},
              test::DumpFailed(thread, L"MiniDumpWriteDump failed with error 112")});
    EXPECT_EQ(run.CrashRecords(), Join({{E(HeapLine)}, pass, pass}));
    EXPECT_EQ(OwnEnds(run), 0U);
}

TEST(FailedDump, AfterHeapCorruption_CanSucceedInTheSecondPass) {
    CrashRun run;
    run.Script(
        "fail-import MiniDumpWriteDump 1 112\n"
        "on load crash heap-corruption\n");
    EXPECT_EQ(run.Run(L"-run"), test::HeapCorruption);
    const std::uint64_t thread = run.CrashingThread();
    EXPECT_EQ(run.CrashRecords(),
              Join({{E(HeapLine)},
                    test::PassBegins(thread),
                    test::DumpFailed(thread, L"MiniDumpWriteDump failed with error 112"),
                    test::PassBegins(thread),
                    test::DumpWritten(thread, run.DumpFile())}));
    const test::Minidump dump = test::ReadMinidump(run.DumpFile());
    EXPECT_EQ(dump.exceptionCode, test::HeapCorruption);
    EXPECT_EQ(dump.exceptionThread, thread);
}

TEST(FailedDump, OfTheFirstOfTwoThreads_LeavesTheSecondAPassOfItsOwn) {
    CrashRun run;
    run.Script(std::string("fail-import MiniDumpWriteDump 1 112\n"
                           "fail-import MiniDumpWriteDump 2+ 0 1\n"
                           "on bootstrap threads 2 crash read\non bootstrap ") +
               test::Forever);
    // The first thread's failed pass passes its exception to the platform, which may end the
    // process before the second thread is done. The code is the same in both cases.
    EXPECT_EQ(run.Run(L"-zevrunzip"), AccessViolation);
    const Records records = run.CrashRecords();
    const auto count = [&](const std::wstring& text) {
        return std::count_if(records.begin(), records.end(), [&](const std::wstring& record) {
            return record.find(text) != std::wstring::npos;
        });
    };
    EXPECT_EQ(count(L"CreateDumpInThisProcess failed"), 1);
    EXPECT_EQ(count(L"MiniDumpWriteDump failed with error 112"), 1);
}

}  // namespace
