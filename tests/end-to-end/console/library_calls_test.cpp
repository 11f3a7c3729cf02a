// Each result of each library call, in a console run: the whole log and the order of calls.

#include <gmock/gmock.h>

#include <ostream>

#include "tests/end-to-end/console/console_run.h"
#include "tests/end-to-end/support/row_name.h"

namespace {

using namespace test;
using Calls = std::vector<std::string>;

const Calls AllCalls = {"create", "load", "activate", "notify", "deactivate", "free"};
const std::wstring DeactivateBegun = T(L"Orrin->Deactivate started due to QUA-847");

struct Row {
    const char* name;
    std::string script;
    bool serves;  ///< the start succeeds, so the run must be stopped
    Records body;
    Calls calls;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class LibraryAnswer : public testing::TestWithParam<Row> {};

TEST_P(LibraryAnswer, IsLoggedAndActedOn) {
    const Row& row = GetParam();
    const HostFolder host;
    host.Script(row.script);
    // With the sample requested: a failed start must not run it.
    ConsoleRun run(host, row.serves ? L"-run" : L"-run -test");
    EXPECT_EQ(row.serves ? run.ServeAndStop() : run.Wait(), 0U);
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(host.OnlyLog(), run.Expected(row.body));
    EXPECT_EQ(host.ReadTranscript().Calls(), row.calls);
}

Records Served(const Records& start, const Records& stop = {}) {
    return Join({{ComReady, Working, StartBegun},
                 start,
                 {StartOver, CtrlC, StopBegun},
                 stop,
                 {StopOver, Freed}});
}

INSTANTIATE_TEST_SUITE_P(
    Start, LibraryAnswer,
    testing::Values(
        Row{"CreateFails",
            "on create return 7\n",
            false,
            {ComReady, E(L"OrrinCreateComponentModelController failed with error 7"), Working,
             StartBegun, E(L"orrin does not initialized"), StartOver},
            {"create"}},
        Row{"CreateFailsWithNegativeCode",
            "on create return -5\n",
            false,
            {ComReady, E(L"OrrinCreateComponentModelController failed with error -5"), Working,
             StartBegun, E(L"orrin does not initialized"), StartOver},
            {"create"}},
        Row{"LoadFails",
            "on load return -5\n",
            false,
            {ComReady, Working, StartBegun, E(L"Orrin->LoadAddons failed with error -5"), StartOver,
             Freed},
            {"create", "load", "free"}},
        Row{"LoadFailsWithThree",
            "on load return 3\n",
            false,
            {ComReady, Working, StartBegun, E(L"Orrin->LoadAddons failed with error 3"), StartOver,
             Freed},
            {"create", "load", "free"}},
        Row{"ActivateFails",
            "on activate return 5\n",
            false,
            {ComReady, Working, StartBegun, E(L"Orrin->Activate failed with error 5"),
             DeactivateBegun, T(L"Orrin->Deactivate finished with code 0"), StartOver, Freed},
            {"create", "load", "activate", "deactivate", "free"}},
        Row{"ActivateAndDeactivateFail",
            "on activate return -1\non deactivate return -9\n",
            false,
            {ComReady, Working, StartBegun, E(L"Orrin->Activate failed with error -1"),
             DeactivateBegun, T(L"Orrin->Deactivate finished with code -9"), StartOver, Freed},
            {"create", "load", "activate", "deactivate", "free"}},
        Row{"SoftFailure",
            "on activate return 3\n",
            true,
            Served({W(L"Orrin->Activate failed with error 3"), DeactivateBegun,
                    T(L"Orrin->Deactivate finished with code 0")}),
            {"create", "load", "activate", "deactivate", "notify", "deactivate", "free"}},
        Row{"SoftFailureAndDeactivateFails",
            "on activate return 3\non deactivate return 9\n",
            true,
            Served({W(L"Orrin->Activate failed with error 3"), DeactivateBegun,
                    T(L"Orrin->Deactivate finished with code 9")},
                   {E(L"Orrin->Deactivate failed with error 9")}),
            {"create", "load", "activate", "deactivate", "notify", "deactivate", "free"}}),
    RowName<Row>);

INSTANTIATE_TEST_SUITE_P(
    Stop, LibraryAnswer,
    testing::Values(Row{"NotifyFails",
                        "on notify return 4\n",
                        true,
                        Served({}, {E(L"Orrin->NotifyOnStop failed with error 4")}),
                        {"create", "load", "activate", "notify", "free"}},
                    Row{"DeactivateFails", "on deactivate return -5\n", true,
                        Served({}, {E(L"Orrin->Deactivate failed with error -5")}), AllCalls},
                    Row{"FreeFails",
                        "on free return 6\n",
                        true,
                        {ComReady, Working, StartBegun, StartOver, CtrlC, StopBegun, StopOver,
                         E(L"OrrinFreeComponentModelController failed with error 6")},
                        AllCalls}),
    RowName<Row>);

INSTANTIATE_TEST_SUITE_P(
    Com, LibraryAnswer,
    testing::Values(Row{"InitialisedAlready",
                        "fail-import CoInitializeEx 1 0 1\n",
                        true,
                        {E(L"CoInitializeEx failed with hResult 1"), Working, StartBegun, StartOver,
                         CtrlC, StopBegun, StopOver, Freed},
                        AllCalls},
                    Row{"OtherApartment",
                        "fail-import CoInitializeEx 1 0 0x80010106\n",
                        true,
                        {E(L"CoInitializeEx failed with hResult 2147549446"), Working, StartBegun,
                         StartOver, CtrlC, StopBegun, StopOver, Freed},
                        AllCalls}),
    RowName<Row>);

/// The line of a failed report at level E; at level T the same without the error.
std::wstring FailedStatus(const wchar_t* state, DWORD exitCode, DWORD accepted) {
    return E(StatusText(state, exitCode, 0, accepted, 0) + L"failed with error 6 ");
}

INSTANTIATE_TEST_SUITE_P(
    Callbacks, LibraryAnswer,
    testing::Values(
        Row{"BothInterfacesRegistered",
            "on load register\n",
            true,
            Served({}),
            {"create", "load", "register-interface", "register-interface", "activate", "notify",
             "deactivate", "free"}},
        Row{"FirstInterfaceRefused",
            "registrar-results 5 0\non load register\n",
            true,
            Served({E(L"RegisterInterface for QuillonInteractionInterface failed with error 5")}),
            {"create", "load", "register-interface", "register-interface", "activate", "notify",
             "deactivate", "free"}},
        Row{"SecondInterfaceRefused",
            "registrar-results 0 4294967295\non load register\n",
            true,
            Served({E(L"RegisterInterface for QuillonExceptionInterface failed with error "
                      L"4294967295")}),
            {"create", "load", "register-interface", "register-interface", "activate", "notify",
             "deactivate", "free"}},
        Row{"BothInterfacesRefused",
            "registrar-results 5 6\non load register\n",
            true,
            Served({E(L"RegisterInterface for QuillonInteractionInterface failed with error 5"),
                    E(L"RegisterInterface for QuillonExceptionInterface failed with error 6")}),
            {"create", "load", "register-interface", "register-interface", "activate", "notify",
             "deactivate", "free"}},
        // There is no service manager: the bit is set, the report fails, and no status line
        // follows.
        Row{"StopEnabledTwice",
            "on load register\non activate enable-stop\non activate enable-stop\n",
            true,
            Served({T(L"Enable service stop ORRIN request occur"),
                    FailedStatus(L"SERVICE_STOPPED", 0, 5),
                    T(L"Enable service stop ORRIN request occur"),
                    FailedStatus(L"SERVICE_STOPPED", 0, 5)}),
            {"create", "load", "register-interface", "register-interface", "activate", "notify",
             "deactivate", "free"}},
        Row{"ForcedStopChangesNothing", "on activate interrupt\n", true,
            Served({E(L"Intterrupt Callback occur"), FailedStatus(L"SERVICE_STOPPED", 713, 4),
                    T(StatusText(L"SERVICE_STOPPED", 713, 0, 4, 0))}),
            AllCalls},
        Row{"CrashHookSetAndRemoved",
            "on load register\non activate set-callback null\non activate set-callback log trace "
            "null x\non notify remove-callback\non notify remove-callback\n",
            true,
            Served({T(L"SetPreExceptionCallback called"), T(L"SetPreExceptionCallback called")},
                   {T(L"RemovePreExceptionCallback called"),
                    T(L"RemovePreExceptionCallback called")}),
            {"create", "load", "register-interface", "register-interface", "activate", "notify",
             "deactivate", "free"}}),
    RowName<Row>);

struct ResultRow {
    const char* name;
    const char* script;
    const char* call;
    std::uint64_t result;
};

void PrintTo(const ResultRow& row, std::ostream* out) {
    *out << row.name;
}

class CallbackResult : public testing::TestWithParam<ResultRow> {};

TEST_P(CallbackResult, ComesBackToTheLibrary) {
    const HostFolder host;
    host.Script(std::string(GetParam().script) + "on activate return 5\n");
    EXPECT_EQ(host.Start(L"-run")->Wait(), 0U);
    bool seen = false;
    for (const TranscriptEntry& entry : host.ReadTranscript().With("host", GetParam().call)) {
        if (entry.Has("phase", "after")) {
            EXPECT_EQ(entry.Number("result"), GetParam().result);
            seen = true;
        }
    }
    EXPECT_TRUE(seen);
}

INSTANTIATE_TEST_SUITE_P(
    Results, CallbackResult,
    testing::Values(ResultRow{"Register", "on load register\n", "register", 0},
                    ResultRow{"RegisterWithFirstRefused",
                              "registrar-results 5 0\non load register\n", "register", 0},
                    ResultRow{"RegisterWithSecondRefused",
                              "registrar-results 5 6\non load register\n", "register", 6},
                    ResultRow{"EnableStopWithoutAServiceManager",
                              "on load register\non activate enable-stop\n", "enable-stop", 6},
                    ResultRow{"SetCallback", "on load register\non activate set-callback null\n",
                              "set-callback", 0},
                    ResultRow{"RemoveCallbackWithoutOne",
                              "on load register\non activate remove-callback\n", "remove-callback",
                              0}),
    RowName<ResultRow>);

std::size_t CallsOf(const Transcript& transcript, const char* function) {
    std::size_t calls = 0;
    for (const TranscriptEntry& entry : transcript.With("import", function)) {
        calls += entry.Has("phase", "enter") ? 1U : 0U;
    }
    return calls;
}

struct BalanceRow {
    const char* script;
    std::size_t undone;  ///< calls of `CoUninitialize`
};

void PrintTo(const BalanceRow& row, std::ostream* out) {
    *out << testing::PrintToString(row.script);
}

class ComBalance : public testing::TestWithParam<BalanceRow> {};

TEST_P(ComBalance, IsUndoneIffItWasDone) {
    const HostFolder host;
    host.Script(std::string(GetParam().script) + "trace-import CoUninitialize\non load return 5\n");
    EXPECT_EQ(host.Start(L"-run")->Wait(), 0U);
    EXPECT_EQ(CallsOf(host.ReadTranscript(), "CoUninitialize"), GetParam().undone);
}

INSTANTIATE_TEST_SUITE_P(Rows, ComBalance,
                         testing::Values(BalanceRow{"", 1}, BalanceRow{"on free return 6\n", 1},
                                         BalanceRow{"on create return 6\n", 1},
                                         BalanceRow{"fail-import CoInitializeEx 1 0 1\n", 0},
                                         BalanceRow{"fail-import CoInitializeEx 1 0 0x80010106\n",
                                                    0}));

TEST(ConsoleThreads, EveryCallOfTheLibraryIsMadeOnTheMainThread) {
    const HostFolder host;
    host.Script("");
    ConsoleRun run(host);
    EXPECT_EQ(run.ServeAndStop(), 0U);
    const Transcript transcript = host.ReadTranscript();
    const std::string mainThread = transcript.Only("call", "attach").Get("tid");
    for (const TranscriptEntry& entry : transcript.With("phase", "enter")) {
        EXPECT_EQ(entry.Get("tid"), mainThread) << entry.Get("call");
        EXPECT_EQ(entry.Get("com"), "mta") << entry.Get("call");
    }
}

TEST(ConsoleExit, ExitProcessByTheLibrary_LeavesTheLogWithoutEnd) {
    const HostFolder host;
    host.Script("on load exit 7\n");
    ConsoleRun run(host);
    EXPECT_EQ(run.Wait(), 7U);
    const Records records = host.OnlyLog();
    EXPECT_THAT(records, testing::Contains(StartBegun));
    EXPECT_THAT(records, testing::Not(testing::Contains(T(L"End"))));
}

TEST(ConsoleThreads, NoThreadIsMade) {
    const HostFolder host;
    host.Script("trace-import CreateThread\ntrace-import SetServiceStatus\n");
    ConsoleRun run(host);
    EXPECT_EQ(run.ServeAndStop(), 0U);
    EXPECT_EQ(CallsOf(host.ReadTranscript(), "CreateThread"), 0U);
    EXPECT_EQ(CallsOf(host.ReadTranscript(), "SetServiceStatus"), 0U);
}

}  // namespace
