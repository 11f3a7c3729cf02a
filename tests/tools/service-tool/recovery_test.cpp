// The recovery actions, which Wine's service manager lacks, on a simulated manager.

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "tools/service-tool/options.h"
#include "tools/service-tool/parts.h"
#include "tools/service-tool/place.h"
#include "tools/service-tool/service.h"
#include "tools/service-tool/stop.h"

namespace service_tool {
namespace {

using testing::ElementsAre;

/// A registered service, its actions, and the calls on it in order.
struct PlayedManager {
    std::vector<SC_ACTION> actions;
    bool flag = false;
    DWORD state = SERVICE_STOPPED;
    DWORD exitCode = 0;
    DWORD stopError = 0;
    bool elevated = true;
    std::vector<std::string> calls;
} manager;

SC_HANDLE AnyHandle() {
    return reinterpret_cast<SC_HANDLE>(&manager);
}

SC_HANDLE WINAPI PlayOpenManager(const wchar_t*, const wchar_t*, DWORD) {
    return AnyHandle();
}
SC_HANDLE WINAPI PlayOpenService(SC_HANDLE, const wchar_t*, DWORD) {
    return AnyHandle();
}
BOOL WINAPI PlayClose(SC_HANDLE) {
    return TRUE;
}

BOOL WINAPI PlayQueryStatus(SC_HANDLE, SC_STATUS_TYPE, BYTE* buffer, DWORD, DWORD*) {
    SERVICE_STATUS_PROCESS status = {};
    status.dwCurrentState = manager.state;
    status.dwWin32ExitCode = manager.exitCode;
    std::memcpy(buffer, &status, sizeof(status));
    return TRUE;
}

BOOL WINAPI PlayControl(SC_HANDLE, DWORD, SERVICE_STATUS*) {
    manager.calls.push_back(manager.actions.front().Type == SC_ACTION_NONE ? "stop, no restart"
                                                                           : "stop");
    ::SetLastError(manager.stopError);
    if (manager.stopError != 0) {
        return FALSE;
    }
    manager.state = SERVICE_STOPPED;
    return TRUE;
}

BOOL WINAPI PlayQueryLevel(SC_HANDLE, DWORD level, BYTE* buffer, DWORD, DWORD*) {
    if (level == SERVICE_CONFIG_FAILURE_ACTIONS) {
        SERVICE_FAILURE_ACTIONSW record = {};
        record.dwResetPeriod = 86400;
        record.cActions = static_cast<DWORD>(manager.actions.size());
        record.lpsaActions = manager.actions.data();
        std::memcpy(buffer, &record, sizeof(record));
    } else {
        SERVICE_FAILURE_ACTIONS_FLAG record = {manager.flag ? TRUE : FALSE};
        std::memcpy(buffer, &record, sizeof(record));
    }
    return TRUE;
}

BOOL WINAPI PlayChangeLevel(SC_HANDLE, DWORD level, void* data) {
    if (level == SERVICE_CONFIG_FAILURE_ACTIONS) {
        const auto* record = static_cast<const SERVICE_FAILURE_ACTIONSW*>(data);
        std::string text = "actions";
        for (DWORD index = 0; index < record->cActions; ++index) {
            const SC_ACTION& action = record->lpsaActions[index];
            text += (action.Type == SC_ACTION_NONE ? " none/" : " restart/") +
                    std::to_string(action.Delay);
        }
        manager.calls.push_back(text);
        manager.actions.assign(record->lpsaActions, record->lpsaActions + record->cActions);
    } else {
        manager.flag = static_cast<const SERVICE_FAILURE_ACTIONS_FLAG*>(data)
                           ->fFailureActionsOnNonCrashFailures != FALSE;
        manager.calls.push_back(manager.flag ? "flag on" : "flag off");
    }
    return TRUE;
}

BOOL WINAPI PlayToken(HANDLE, TOKEN_INFORMATION_CLASS, void* data, DWORD, DWORD*) {
    static_cast<TOKEN_ELEVATION*>(data)->TokenIsElevated = manager.elevated ? 1 : 0;
    return TRUE;
}

std::vector<SC_ACTION> Restarts() {
    return {{SC_ACTION_RESTART, 5000}, {SC_ACTION_RESTART, 30000}, {SC_ACTION_RESTART, 120000}};
}

const Part& PartNamed(const std::vector<Part>& parts, const std::wstring& begin) {
    for (const Part& part : parts) {
        if (part.name.starts_with(begin)) {
            return part;
        }
    }
    throw std::runtime_error("there is no such part");
}

class RecoveryTest : public testing::Test {
  protected:
    RecoveryTest() { manager = PlayedManager(); }
};

}  // namespace
}  // namespace service_tool

// The linker prefers the program's own pointers to those of the import library.
#define PLAYS(function, replacement)                                    \
    extern "C" {                                                        \
    extern decltype(&::function) __imp_##function;                      \
    decltype(&::function) __imp_##function = service_tool::replacement; \
    }
PLAYS(OpenSCManagerW, PlayOpenManager)
PLAYS(OpenServiceW, PlayOpenService)
PLAYS(CloseServiceHandle, PlayClose)
PLAYS(QueryServiceStatusEx, PlayQueryStatus)
PLAYS(ControlService, PlayControl)
PLAYS(QueryServiceConfig2W, PlayQueryLevel)
PLAYS(ChangeServiceConfig2W, PlayChangeLevel)
PLAYS(GetTokenInformation, PlayToken)
#undef PLAYS

namespace service_tool {
namespace {

TEST_F(RecoveryTest, Stop_NothingRestartsWhileItStops_ActionsAreRestored) {
    manager.state = SERVICE_RUNNING;
    manager.actions = Restarts();
    const StopResult result = StopService(L"C:\\no such program.exe", 0);
    EXPECT_TRUE(result.stopped);
    EXPECT_THAT(manager.calls,
                ElementsAre("actions none/5000 none/30000 none/120000", "stop, no restart",
                            "actions restart/5000 restart/30000 restart/120000"));
}

TEST_F(RecoveryTest, StopThatIsRefused_ActionsAreRestored) {
    manager.state = SERVICE_RUNNING;
    manager.actions = Restarts();
    manager.stopError = ERROR_INVALID_SERVICE_CONTROL;
    const StopResult result = StopService(L"C:\\no such program.exe", 0);
    EXPECT_FALSE(result.stopped);
    EXPECT_TRUE(result.text.starts_with(L"service does not accept a stop now: error 1052"));
    EXPECT_EQ(manager.actions.front().Type, SC_ACTION_RESTART);
}

TEST_F(RecoveryTest, StopThatEndsWithAnError_IsReportedAndCountsAsStopped) {
    manager.state = SERVICE_RUNNING;
    manager.actions = Restarts();
    manager.exitCode = 1359;
    const StopResult result = StopService(L"C:\\no such program.exe", 0);
    EXPECT_TRUE(result.stopped);
    EXPECT_NE(result.text.find(L"exit code error 1359"), std::wstring::npos);
    EXPECT_EQ(manager.actions.front().Type, SC_ACTION_RESTART);
}

TEST_F(RecoveryTest, StoppedAlready_ChangesNothing) {
    manager.actions = Restarts();
    EXPECT_TRUE(StopService(L"C:\\no such program.exe", 0).stopped);
    EXPECT_TRUE(manager.calls.empty());
}

TEST_F(RecoveryTest, Parts_AreMadeOnceAndThenRight) {
    const std::vector<Part> parts = PartsOfService();
    const Part& actions = PartNamed(parts, L"recovery: restart");
    const Part& flag = PartNamed(parts, L"recovery after");
    EXPECT_EQ(actions.inspect().condition, Condition::Missing);
    EXPECT_EQ(flag.inspect().condition, Condition::Missing);
    EXPECT_EQ(actions.make(), 0U);
    EXPECT_EQ(flag.make(), 0U);
    EXPECT_THAT(manager.calls,
                ElementsAre("actions restart/5000 restart/30000 restart/120000", "flag on"));
    EXPECT_EQ(actions.inspect().condition, Condition::Right);
    EXPECT_EQ(flag.inspect().condition, Condition::Right);
}

TEST_F(RecoveryTest, ActionsOfAnAdministrator_AreLeftAlone) {
    manager.actions = {{SC_ACTION_RESTART, 60000}};
    const std::vector<Part> parts = PartsOfService();
    EXPECT_EQ(PartNamed(parts, L"recovery: restart").inspect().condition, Condition::Changed);
}

TEST_F(RecoveryTest, PromptWithoutElevation_IsSeen) {
    EXPECT_TRUE(IsElevated());
    manager.elevated = false;
    EXPECT_FALSE(IsElevated());
    EXPECT_EQ(Stop(FindPlace(), 0), ExitFailure);
    EXPECT_TRUE(manager.calls.empty());
}

}  // namespace
}  // namespace service_tool
