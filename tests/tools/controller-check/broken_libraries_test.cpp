// For each expectation a library that breaks only this one.

#include <gmock/gmock.h>

#include <ostream>

#include "tests/tools/controller-check/check_run.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// A correct library with one change.
struct Case {
    const char* name;
    std::string broken;  ///< the one expectation
    std::string cause;   ///< lines of a script, or the name of a fault
    std::string seen;    ///< part of the report's line
    std::wstring options = L"--round service";
};

void PrintTo(const Case& broken, std::ostream* output) {
    *output << broken.cause;
}

std::string NameOf(const testing::TestParamInfo<Case>& info) {
    return info.param.name;
}

void ExpectBroken(const test::CheckRun& check, const Case& broken) {
    const test::CheckOutcome outcome = check.Run(broken.options);
    EXPECT_EQ(outcome.exitCode, 1U);
    EXPECT_THAT(outcome.failed, ElementsAre(broken.broken)) << outcome.output;
    EXPECT_THAT(outcome.LineOf(broken.broken), HasSubstr(broken.seen));
}

class ScriptedLibrary : public testing::TestWithParam<Case> {};

TEST_P(ScriptedLibrary, BreaksOneExpectation_IsRecognised) {
    const test::CheckRun check(L"orrin-ctrl.dll");
    check.Script(GetParam().cause);
    ExpectBroken(check, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, ScriptedLibrary,
    testing::Values(
        Case{"RefusedAttach", "attach", "on attach return 1\n", "error 1114"},
        Case{"FailedCreate", "create-result", "on create return 5\n", "create gave 5"},
        Case{"NegativeCode", "create-result", "on create return -2147467259\n",
             "create gave -2147467259"},
        Case{"NullController", "controller-row", "on create null-controller\n", "is null"},
        Case{"FailedLoad", "load-result", "on load return 5\n", "LoadAddons gave 5"},
        Case{"FailedActivate", "activate-result", "on activate return 4\n", "Activate gave 4"},
        Case{"FailedNotify", "notify-result", "on notify return 5\n", "NotifyOnStop gave 5"},
        Case{"FailedDeactivate", "deactivate-result", "on deactivate return 5\n",
             "Deactivate gave 5"},
        Case{"FailedFree", "free-result", "on free return 5\n", "free gave 5"}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Conduct, ScriptedLibrary,
    testing::Values(  // Without the first interface there is no stop permission.
        Case{"RefusedFirstInterface", "register-result", "registrar-results 9 0\n",
             "gave 9 for quillon_interaction", L"--round stop-at-once"},
        Case{"RefusedSecondInterface", "register-result",
             "registrar-results 0 9\non load register\non load return 0\n"
             "on activate enable-stop\non activate return 0\n"
             "on notify return 0\non deactivate return 0\n",
             "gave 9 for quillon_exception"},
        Case{"EarlyStopPermission", "too-early", "on create register\non create enable-stop\n",
             "OrrinEnableServiceStop"},
        Case{"LateStopPermission", "too-late", "on free enable-stop\n",
             "OrrinEnableServiceStop was called during free"},
        Case{"CallbackLeftBehind", "pre-exception", "on activate set-callback flush\n",
             "when free had returned"},
        Case{"CallbackLeftBehindAfterForcedStop", "pre-exception",
             "on activate set-callback flush\non deactivate remove-callback\n",
             "when free had returned", L"--round forced-stop"}),
    NameOf);

class AllowedLibrary : public testing::TestWithParam<Case> {};

// Behaviour that the host tolerates is reported as advice, and the library passes.
TEST_P(AllowedLibrary, GetsAdviceAndNoFailure) {
    const test::CheckRun check(L"orrin-ctrl.dll");
    check.Script(GetParam().cause);
    const test::CheckOutcome outcome = check.Run(GetParam().options);
    EXPECT_EQ(outcome.exitCode, 0U);
    EXPECT_THAT(outcome.failed, testing::IsEmpty()) << outcome.output;
    EXPECT_EQ(outcome.verdicts.at(GetParam().broken), "advice");
    EXPECT_THAT(outcome.LineOf(GetParam().broken), HasSubstr(GetParam().seen));
}

INSTANTIATE_TEST_SUITE_P(
    Conduct, AllowedLibrary,
    testing::Values(Case{"GivesUp", "goes-on", "on activate interrupt\n", "OrrinInterruptCallback"},
                    Case{"GivesUpInConsole", "goes-on", "on activate interrupt\n",
                         "OrrinInterruptCallback", L"--round console"},
                    Case{"NoStopPermission", "stop-permission", "on activate return 0\n",
                         "OrrinEnableServiceStop wasn't called"},
                    Case{"NoStopPermissionInConsole", "stop-permission", "on activate return 0\n",
                         "wasn't called", L"--round console"}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Ends, ScriptedLibrary,
    testing::Values(
        Case{"HangInCreate", "in-time", "on create delay 60000\n", "create wasn't over after 4 s",
             L"--timeout 4"},
        Case{"HangInStop", "in-time", "on notify delay 60000\n", "NotifyOnStop wasn't over",
             L"--timeout 4 --round service"},
        Case{"CrashInCreate", "no-crash", "on create crash read\n",
             "0xC0000005 (access violation) at orrin-ctrl.dll+0x"},
        Case{"CrashOnOwnThread", "no-crash", "on activate detached-thread crash write\n",
             "0xC0000005", L"--round service --run 2000"},
        Case{"ExceptionOnLogicThread", "no-crash", "on load crash cpp\n", "(C++ exception)"},
        Case{"ExceptionOnMainThread", "no-crash", "on create crash cpp\n",
             "0x20474343 (C++ exception)"},
        Case{"FailFast", "no-crash", "on activate crash fail-fast\n", "0xC0000409 (fail-fast)"},
        Case{"CrashInForcedStop", "no-crash", "on free crash read\n", "during free",
             L"--round forced-stop"},
        Case{"ExitInActivate", "no-exit", "on activate exit 5\n", "exit code 5 during Activate"},
        Case{"ExitWithZero", "no-exit", "on free exit 0\n", "exit code 0 during free"},
        Case{"ExitBetweenCalls", "no-exit", "on activate after 300 exit 5\n",
             "exit code 5 between the calls", L"--round service --run 5000"}),
    NameOf);

class FaultyLibrary : public testing::TestWithParam<Case> {};

TEST_P(FaultyLibrary, BreaksOneExpectation_IsRecognised) {
    test::CheckRun check(L"faulty-controller.dll");
    const std::string& fault = GetParam().cause;
    check.Fault(std::wstring(fault.begin(), fault.end()));
    ExpectBroken(check, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Records, FaultyLibrary,
    testing::Values(
        Case{"MissingFunction", "controller-row", "missing-function",
             "the row's member Deactivate is null"},
        Case{"ObjectWithTablePointer", "controller-row", "object", "can't be called"},
        Case{"ClearedRow", "row-callable", "cleared-row", "before NotifyOnStop"},
        Case{"WrongContext", "register-context", "wrong-context", "got another one"},
        Case{"EmptyRegistrar", "registrar-row", "empty-registrar", "is null"},
        Case{"ChangedParameters", "records", "changed-parameters", "the parameters, offset 24"},
        Case{"ChangedInCreate", "records", "changed-in-create",
             "the parameters, offset 0: changed when create had returned"},
        Case{"ChangedInterface", "records", "changed-interface",
             "the interface quillon_interaction, offset 8"},
        Case{"WrittenPastEnd", "records", "written-past-end", "memory beside"},
        Case{"MessageWithoutEnd", "log-text", "endless-message", "the message runs on"},
        Case{"ComponentWithoutEnd", "log-text", "endless-component", "the component runs on"}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Process, FaultyLibrary,
    testing::Values(
        Case{"OwnCrashFilter", "crash-filter", "own-crash-filter", "when Activate had returned"},
        Case{"ComLetGo", "com", "com-let-go", "when create had returned"},
        Case{"CallbackWithoutCode", "pre-exception", "callback-without-code", "can't be called"},
        Case{"CallAfterFree", "after-free", "late-call", "OrrinLoggingCallback was called",
             L"--round service --after-free 1500"},
        Case{"ReadAfterFree", "after-free", "late-read", "faulty-controller.dll+0x",
             L"--round service --after-free 1500"},
        Case{"RecordReadAfterUnpacking", "after-free", "unpack-late-read",
             "faulty-controller.dll+0x", L"--round unpack --after-free 1500"},
        Case{"EndedThread", "no-exit", "exit-thread", "ended during Activate"},
        Case{"HangAtTheEnd", "in-time", "endless-end", "the process's end wasn't over",
             L"--timeout 4 --round no-start"},
        Case{"FlushWhileUnpacking", "no-crash", "unpack-flush", "during OrrinBootstrap",
             L"--round unpack"}),
    NameOf);

}  // namespace
