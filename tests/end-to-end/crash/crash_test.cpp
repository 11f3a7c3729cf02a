// Every kind of crash at every place where the library runs: one dump with that exception and
// thread, and the exception code as exit code.

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>
#include <string>

#include "tests/end-to-end/crash/crash_run.h"
#include "tests/end-to-end/crash/minidump_reader.h"
#include "tests/end-to-end/support/log_files.h"

namespace {

using test::AccessViolation;
using test::CrashRun;
using test::E;
using test::Join;
using test::Records;

struct CrashCase {
    const char* name;
    const wchar_t* arguments;
    std::string script;
    std::uint32_t code;
    std::optional<std::uint64_t> access;  ///< of an access violation: 0 read, 1 write, 8 execute
};

void PrintTo(const CrashCase& crash, std::ostream* out) {
    *out << crash.name;
}

class Crash : public ::testing::TestWithParam<CrashCase> {};

/// The expected contents of a dump.
void ExpectDump(const CrashRun& run, const CrashCase& crash, std::uint64_t thread) {
    const test::Minidump dump = test::ReadMinidump(run.DumpFile());
    EXPECT_EQ(dump.flags, 0U);
    EXPECT_TRUE(dump.hasException);
    EXPECT_EQ(dump.exceptionCode, crash.code);
    EXPECT_EQ(dump.exceptionThread, thread);
    EXPECT_GE(dump.contextSize, 1232U);
    EXPECT_TRUE(dump.HasThread(static_cast<std::uint32_t>(thread)));
    EXPECT_TRUE(dump.HasModule(run.Host().Executable()));
    EXPECT_TRUE(dump.HasModule(run.Host().Library()));
    if (crash.access) {
        ASSERT_EQ(dump.exceptionParameters.size(), 2U);
        EXPECT_EQ(dump.exceptionParameters[0], *crash.access);
    }
}

TEST_P(Crash, LeavesOneDumpItsLinesAndItsCode) {
    if (!test::HasFilterFrame && std::string(GetParam().name) == "CppExceptionInFree") {
        GTEST_SKIP() << "a host built by GCC has no filter frame";
    }
    CrashRun run;
    run.Script(GetParam().script);
    // No bytes of an older, larger dump may remain.
    run.MakeDumpFolder();
    const std::size_t oldSize = 4 * 1024 * 1024;
    test::WriteFileBytes(run.DumpFile(), std::string(oldSize, 'x'));

    EXPECT_EQ(run.Run(GetParam().arguments), GetParam().code);
    const std::uint64_t thread = run.CrashingThread();
    const Records heap =
        GetParam().code == test::HeapCorruption
            ? Records{E(L"VectoredExceptionProcessing occured for heap corruption")}
            : Records{};
    EXPECT_EQ(run.CrashRecords(),
              Join({heap, test::PassBegins(thread), test::DumpWritten(thread, run.DumpFile())}));
    EXPECT_EQ(run.DumpCount(), 1U);
    EXPECT_LT(std::filesystem::file_size(run.DumpFile()), oldSize);
    ExpectDump(run, GetParam(), thread);
}

std::string OnItsOwnThread(const std::string& point, const std::string& action) {
    return "on " + point + " thread " + action + "\non " + point + " " + test::Forever;
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, Crash,
    ::testing::Values(
        CrashCase{"ReadInCreate", L"-run", "on create crash read\n", AccessViolation, 0},
        CrashCase{"WriteInLoadAddons", L"-run", "on load crash write\n", AccessViolation, 1},
        CrashCase{"ExecuteInActivate", L"-run", "on activate crash execute\n", AccessViolation, 8},
        CrashCase{"DivideInDeactivate",
                  L"-run",
                  "on activate return 5\non deactivate crash divide\n",
                  test::DivisionByZero,
                  {}},
        CrashCase{"IllegalInFree",
                  L"-run",
                  "on load return 5\non free crash illegal\n",
                  test::IllegalInstruction,
                  {}},
        CrashCase{"GuardPageInLoadAddons", L"-run", "on load crash guard\n", 0x80000001, {}},
        CrashCase{"MisalignedAccessInBootstrap",
                  L"-zevrunzip",
                  "on bootstrap crash misaligned\n",
                  AccessViolation,
                  {}},
        CrashCase{"OverflowOfADivisionInCreate",
                  L"-run",
                  "on create crash overflow\n",
                  test::DivisionOverflow(),
                  {}},
        CrashCase{"PrivilegedInstructionInFree",
                  L"-run",
                  "on load return 5\non free crash privileged\n",
                  0xC0000096,
                  {}},
        CrashCase{"BreakpointInBootstrap",
                  L"-zevrunzip",
                  "on bootstrap crash breakpoint\n",
                  test::Breakpoint,
                  {}},
        CrashCase{"OwnCodeInBootstrap",
                  L"-zevrunzip",
                  "on bootstrap crash raise 0xE0001234\n",
                  0xE0001234,
                  {}},
        CrashCase{"HeapCorruptionInLoadAddons",
                  L"-run",
                  "on load crash heap-corruption\n",
                  test::HeapCorruption,
                  {}},
        CrashCase{"ReadOnALibraryThread", L"-run", OnItsOwnThread("load", "crash read"),
                  AccessViolation, 0},
        CrashCase{"CppExceptionOnALibraryThread",
                  L"-zevrunzip",
                  OnItsOwnThread("bootstrap", "crash cpp"),
                  test::CppException,
                  {}},
        CrashCase{
            "CppExceptionOnTheMainThread", L"-run", "on load crash cpp\n", test::CppException, {}},
        // Called by a destructor, which would end the process itself.
        CrashCase{"CppExceptionInFree",
                  L"-run",
                  "on load return 5\non free crash cpp\n",
                  test::CppException,
                  {}},
        CrashCase{"CppExceptionInCreate", L"-run", "on create crash cpp\n", test::CppException, {}},
        CrashCase{"CppExceptionOfTheUnpackJob",
                  L"-zevrunzip",
                  "on bootstrap crash cpp\n",
                  test::CppException,
                  {}},
        // The exception code of a C++ exception in a library of the other tool chain.
        CrashCase{"ForeignCppExceptionOnTheMainThread",
                  L"-run",
                  "on load crash raise 0xE06D7363\n",
                  0xE06D7363,
                  {}}),
    [](const auto& test) { return std::string(test.param.name); });

class CrashAtOnce : public ::testing::TestWithParam<int> {};

TEST_P(CrashAtOnce, OneThreadWritesTheOneDumpAndTheOthersAtMostTheirFirstLine) {
    CrashRun run;
    run.Script("on bootstrap threads " + std::to_string(GetParam()) + " crash read\non bootstrap " +
               test::Forever);
    EXPECT_EQ(run.Run(L"-zevrunzip"), AccessViolation);
    EXPECT_EQ(run.DumpCount(), 1U);

    const test::Minidump dump = test::ReadMinidump(run.DumpFile());
    const Records records = run.CrashRecords();
    Records winner = Join({test::PassBegins(dump.exceptionThread),
                           test::DumpWritten(dump.exceptionThread, run.DumpFile())});
    Records rest;
    for (const std::wstring& record : records) {
        if (!winner.empty() && record == winner.front()) {
            winner.erase(winner.begin());
        } else {
            rest.push_back(record);
        }
    }
    EXPECT_EQ(winner, Records()) << "lines missing or out of order";
    EXPECT_LT(rest.size(), static_cast<std::size_t>(GetParam()));
    for (const std::wstring& record : rest) {
        EXPECT_NE(record.find(L"): exception occur "), std::wstring::npos);
    }
    EXPECT_EQ(dump.exceptionCode, AccessViolation);
}

INSTANTIATE_TEST_SUITE_P(Threads, CrashAtOnce, ::testing::Values(2, 8),
                         ::testing::PrintToStringParamName());

TEST(CrashInsideTheLogger, OfTheSameThread_GoesThrough) {
    CrashRun run;
    // The ninth write belongs to a record that comes after the filter's construction: byte order
    // mark, header, filter and parameters go before it. The logger's lock is held around it.
    run.Script(std::string(test::PretendDump) + "before-import WriteFile 9 crash read\n");
    EXPECT_EQ(run.Run(L"-run"), AccessViolation);
    const std::uint64_t thread = run.CrashingThread();
    EXPECT_EQ(run.CrashRecords(),
              Join({test::PassBegins(thread), test::DumpWritten(thread, run.DumpFile())}));
}

// A C++ exception is thrown in a call of the host, given by its number in the run: each record
// reads the time once, the file name and the date in the header once more.

TEST(CppExceptionOutsideAMode, BetweenFilterAndMode_IsDumped) {
    CrashRun run;
    // Name, header, the filter's line; then the parameters.
    run.Script(std::string(test::PretendDump) + "before-import GetSystemTime 7 crash cpp\n");
    EXPECT_EQ(run.Run(L"-zevrunzip"), test::CppException);
    const std::uint64_t thread = run.CrashingThread();
    EXPECT_EQ(run.CrashRecords(),
              Join({test::PassBegins(thread), test::DumpWritten(thread, run.DumpFile())}));
    EXPECT_EQ(run.Host().ReadTranscript().Calls(), std::vector<std::string>());
}

TEST(CppExceptionOutsideAMode, InTheLineAfterTheFreeCall_IsDumped) {
    if (!test::HasFilterFrame) {
        GTEST_SKIP() << "a host built by GCC has no filter frame";
    }
    CrashRun run;
    // Nine up to the parameters, COM, console run, three of the start; then the line of the free
    // call.
    run.Script(std::string(test::PretendDump) +
               "on load return 5\nbefore-import GetSystemTime 15 crash cpp\n");
    EXPECT_EQ(run.Run(L"-run"), test::CppException);
    const std::uint64_t thread = run.CrashingThread();
    EXPECT_EQ(run.CrashRecords(),
              Join({test::PassBegins(thread), test::DumpWritten(thread, run.DumpFile())}));
    EXPECT_EQ(run.Host().ReadTranscript().Calls(),
              (std::vector<std::string>{"create", "load", "free"}));
}

struct HandledCase {
    const char* name;
    const char* action;
};

void PrintTo(const HandledCase& handled, std::ostream* out) {
    *out << handled.name;
}

class Handled : public ::testing::TestWithParam<HandledCase> {};

TEST_P(Handled, LeavesNoLineAndNoDump) {
    CrashRun run;
    run.Script(std::string("on bootstrap crash ") + GetParam().action + "\n");
    const std::unique_ptr<test::Child> child = run.Host().Start(L"-zevrunzip");
    EXPECT_EQ(child->Wait(), 0U);
    const auto survived = run.Host().ReadTranscript().With("phase", "survived");
    EXPECT_EQ(survived.size(), 1U);
    EXPECT_EQ(run.Host().OnlyLog(),
              test::WholeLog(child->ProcessId(), run.Host().Executable(), {L"-zevrunzip"}, {}));
    EXPECT_EQ(run.DumpCount(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Exceptions, Handled,
                         ::testing::Values(HandledCase{"Cpp", "handled 100000"},
                                           HandledCase{"AccessViolation",
                                                       "handled 100000 0xC0000005"}),
                         [](const auto& test) { return std::string(test.param.name); });

/// Ends that no filter sees. docs/crashes.md has the same numbers.
struct UncaughtCase {
    const char* name;
    const wchar_t* arguments;
    const char* script;
    std::uint32_t exitCode;
};

void PrintTo(const UncaughtCase& crash, std::ostream* out) {
    *out << crash.name;
}

class Uncaught : public ::testing::TestWithParam<UncaughtCase> {};

TEST_P(Uncaught, EndsWithoutALineOrADump) {
    CrashRun run;
    run.Script(GetParam().script);
    EXPECT_EQ(run.Run(GetParam().arguments), GetParam().exitCode);
    EXPECT_EQ(run.DumpCount(), 0U);
    for (const std::filesystem::path& log : test::LogFilesIn(run.Host().Logs())) {
        EXPECT_EQ(test::FromCrashOn(test::ReadLogRecords(log)), Records());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Crashes, Uncaught,
    ::testing::Values(UncaughtCase{"StackOverflow", L"-run", "on load crash stack-overflow\n",
                                   test::StackOverflowExit()},
                      UncaughtCase{"FailFast", L"-run", "on load crash fail-fast\n",
                                   test::FailFastExit},
                      UncaughtCase{"CrashBeforeTheFilterStands", L"-run", "on attach crash read\n",
                                   AccessViolation},
                      UncaughtCase{"MissingSleepValue", L"-sleep", "", test::FailFastExit}),
    [](const auto& test) { return std::string(test.param.name); });

/// ALLUSERSPROFILE for a dump path of this many characters.
test::ChildOptions WithDumpPathOfLength(std::size_t length) {
    const std::wstring behind = L"\\Velmora\\Quillon\\tarnwick-service.exe.dmp";
    test::ChildOptions options;
    options.environment[L"ALLUSERSPROFILE"] =
        L"X:\\" + std::wstring(length - behind.size() - 3, L'd');
    return options;
}

class LongDumpPath : public ::testing::TestWithParam<const wchar_t*> {};

TEST_P(LongDumpPath, Of404Characters_IsTaken) {
    CrashRun run;
    run.Script("");
    EXPECT_EQ(run.Run(GetParam(), WithDumpPathOfLength(404)), 0U);
    EXPECT_NE(run.Output().find("ExceptionFilter was created"), std::string::npos);
}

TEST_P(LongDumpPath, Of405Characters_EndsTheProcessAfterTheHeader) {
    CrashRun run;
    run.Script("");
    EXPECT_EQ(run.Run(GetParam(), WithDumpPathOfLength(405)), test::FailFastExit);
    EXPECT_NE(run.Output().find(" LOCAL"), std::string::npos);
    EXPECT_EQ(run.Output().find("ExceptionFilter was created"), std::string::npos);
    EXPECT_EQ(run.Output().find("Start options"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Modes, LongDumpPath,
                         ::testing::Values(L"-log-console", L"-log-console -zevrunzip"),
                         [](const auto& test) {
                             return std::string(test.index == 0 ? "Usage" : "Unpack");
                         });

}  // namespace
