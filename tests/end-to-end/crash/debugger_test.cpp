// Crashes in a debugger: it gets each exception twice, both times with the whole stack, and the
// platform ends the process with the exception code. The filter isn't involved, because the
// platform doesn't call it in a debugged process.

#include <gtest/gtest.h>

#include <string>

#include "tests/end-to-end/crash/crash_run.h"
#include "tests/end-to-end/crash/debugger.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/end-to-end/support/row_name.h"
#include "tests/end-to-end/support/service.h"

namespace {

using test::CrashRun;
using test::DebuggedException;

struct Kind {
    const char* name;
    std::uint32_t code;
};

const Kind Kinds[] = {
    {"read", 0xC0000005},
    {"write", 0xC0000005},
    {"execute", 0xC0000005},
    {"misaligned", 0xC0000005},
    {"guard", 0x80000001},
    {"divide", 0xC0000094},
    {"overflow", test::DivisionOverflow()},
    {"illegal", 0xC000001D},
    {"privileged", 0xC0000096},
    {"breakpoint", 0x80000003},
    {"cpp", test::CppException},
    {"raise 0xE06D7363", 0xE06D7363},
    {"raise 0xC0000095 continuable", 0xC0000095},
    {"raise 0xC0000008 continuable", 0xC0000008},
    {"raise 0x80000002", 0x80000002},
    {"raise 0x30474343 continuable", 0x30474343},
};

struct Place {
    const char* name;
    const wchar_t* arguments;
    const char* before;  ///< the script up to the crash
    const char* after;
};

void PrintTo(const Place& place, std::ostream* out) {
    *out << place.name;
}

/// Both chances on the crashing thread, the code as exit code, no line of the filter and no dump.
void ExpectBothChances(const CrashRun& run, const test::DebuggedRun& debugged, const Kind& kind,
                       const std::vector<std::filesystem::path>& logs) {
    const auto crashes = run.Host().ReadTranscript().With("action", "crash");
    ASSERT_EQ(crashes.size(), 1U) << "the exception came back, or never came";
    const auto thread = static_cast<DWORD>(crashes[0].Number("tid"));
    EXPECT_EQ(debugged.exceptions, (std::vector<DebuggedException>{{kind.code, true, thread},
                                                                   {kind.code, false, thread}}));
    EXPECT_EQ(debugged.exitCode, kind.code);
    ASSERT_EQ(logs.size(), 1U);
    EXPECT_EQ(test::FromCrashOn(test::ReadLogRecords(logs[0])), test::Records());
}

class Debugged : public ::testing::TestWithParam<Place> {};

TEST_P(Debugged, Crash_HasItsTwoChances) {
    if (!test::HasFilterFrame && std::string(GetParam().name) == "FreeCall") {
        GTEST_SKIP() << "a host built by GCC has no filter frame";
    }
    for (const Kind& kind : Kinds) {
        SCOPED_TRACE(kind.name);
        const CrashRun run;
        run.Script(GetParam().before + ("crash " + std::string(kind.name)) + GetParam().after);
        test::ChildOptions options;
        options.creationFlags = DEBUG_ONLY_THIS_PROCESS;
        const auto child = run.Host().Start(GetParam().arguments, options);
        const test::DebuggedRun debugged = test::DebugToTheEnd();
        EXPECT_EQ(child->Wait(), kind.code);
        ExpectBothChances(run, debugged, kind, test::LogFilesIn(run.Host().Logs()));
        EXPECT_EQ(run.DumpCount(), 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Places, Debugged,
    ::testing::Values(Place{"MainThread", L"-zevrunzip", "on bootstrap ", "\n"},
                      Place{"CreateCall", L"-run", "on create ", "\n"},
                      Place{"FreeCall", L"-run", "on load return 5\non free ", "\n"},
                      Place{"LibraryThread", L"-zevrunzip", "on bootstrap thread ",
                            "\non bootstrap wait-event Local\\tarnwick-test-never 60000\n"}),
    test::RowName<Place>);

TEST(DebuggedHeapCorruption, IsDumpedAfterTheFirstChance) {
    const CrashRun run;
    run.Script(std::string(test::PretendDump) + "on bootstrap crash heap-corruption\n");
    test::ChildOptions options;
    options.creationFlags = DEBUG_ONLY_THIS_PROCESS;
    const auto child = run.Host().Start(L"-zevrunzip", options);
    const test::DebuggedRun debugged = test::DebugToTheEnd();
    // The vectored handler runs before the debugger's second chance.
    ASSERT_EQ(debugged.exceptions.size(), 1U);
    EXPECT_TRUE(debugged.exceptions[0].firstChance);
    EXPECT_EQ(child->Wait(), test::HeapCorruption);
    EXPECT_EQ(run.DumpCount(), 1U);
}

TEST(AttachedDebugger, DuringSleep_SeesTheCrashOfTheMainThread) {
    const CrashRun run;
    run.Script("on bootstrap crash cpp\n");
    const auto child = run.Host().Start(L"-sleep 2 -zevrunzip");
    // Attached while the process sleeps, or just before; never after the crash.
    ASSERT_NE(::DebugActiveProcess(child->ProcessId()), FALSE);
    const test::DebuggedRun debugged = test::DebugToTheEnd([] {});
    EXPECT_EQ(child->Wait(), test::CppException);
    ExpectBothChances(run, debugged, {"cpp", test::CppException},
                      test::LogFilesIn(run.Host().Logs()));
}

TEST(AttachedDebugger, OfAService_SeesTheCrashOfTheLogicThread) {
    for (const Kind& kind :
         {Kind{"cpp", test::CppException}, Kind{"overflow", test::DivisionOverflow()}}) {
        SCOPED_TRACE(kind.name);
        const CrashRun run;
        const test::SharedEvent go(run.Host(), "go");
        run.Script("on load wait-event " + go.Name() + " 30000\non load crash " + kind.name + "\n");
        test::Service service(run.Host());
        ASSERT_EQ(service.Start(), 0U);
        service.WaitFor(SERVICE_RUNNING);
        ASSERT_NE(::DebugActiveProcess(service.ProcessId()), FALSE);
        const test::DebuggedRun debugged = test::DebugToTheEnd([&go] { go.Set(); });
        EXPECT_EQ(service.WaitForExit(), kind.code);
        ExpectBothChances(run, debugged, kind, service.Logs());
    }
}

}  // namespace
