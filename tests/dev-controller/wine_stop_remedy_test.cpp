#include "dev-controller/wine_stop_remedy.h"

#include <gtest/gtest.h>

#include "dev-controller/handle.h"

namespace dev_controller {
namespace {

struct Sent {
    Handle event{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    SERVICE_STATUS status = {};
    DWORD threadId = 0;
    bool success = true;
    DWORD error = 0;
};

Sent& LastSent() {
    static Sent sent;
    return sent;
}

void OnSent(const SERVICE_STATUS& status, bool success, DWORD error) {
    LastSent().status = status;
    LastSent().threadId = GetCurrentThreadId();
    LastSent().success = success;
    LastSent().error = error;
    SetEvent(LastSent().event.Get());
}

SERVICE_STATUS Status(DWORD state, DWORD exitCode) {
    SERVICE_STATUS status = {};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwWin32ExitCode = exitCode;
    return status;
}

/// A handle of the wrong kind. The platform refuses the report, so its result shows which thread
/// called the platform, and when.
SERVICE_STATUS_HANDLE ForeignHandle() {
    static const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    return reinterpret_cast<SERVICE_STATUS_HANDLE>(manager);
}

class WineStopRemedy : public testing::Test {
  protected:
    void SetUp() override {
        if (!RunsOnWine()) {
            GTEST_SKIP() << "the remedy acts on Wine only";
        }
        InstallWineStopRemedy(&OnSent);
    }
};

TEST_F(WineStopRemedy, StoppedReport_IsSentByAThreadOfItsOwn) {
    SERVICE_STATUS status = Status(SERVICE_STOPPED, 713);
    EXPECT_TRUE(SetServiceStatus(ForeignHandle(), &status));
    // The caller's record may change or vanish at once.
    status = Status(SERVICE_RUNNING, 1);
    EXPECT_TRUE(WaitForHandedOverReports(10000));
    ASSERT_EQ(WaitForSingleObject(LastSent().event.Get(), 10000), WAIT_OBJECT_0);
    EXPECT_EQ(LastSent().status.dwCurrentState, static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_EQ(LastSent().status.dwWin32ExitCode, 713U);
    EXPECT_NE(LastSent().threadId, GetCurrentThreadId());
    EXPECT_FALSE(LastSent().success);
    EXPECT_NE(LastSent().error, 0U);
}

TEST_F(WineStopRemedy, OtherReports_KeepTheirOwnResult) {
    SERVICE_STATUS status = Status(SERVICE_RUNNING, 0);
    EXPECT_FALSE(SetServiceStatus(ForeignHandle(), &status));
    EXPECT_TRUE(WaitForHandedOverReports(0));
}

TEST_F(WineStopRemedy, StoppedReportWithoutService_FailsAtOnce) {
    SERVICE_STATUS status = Status(SERVICE_STOPPED, 0);
    EXPECT_FALSE(SetServiceStatus(nullptr, &status));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(WineStopRemedy, SeveralReports_AllLeave) {
    ResetEvent(LastSent().event.Get());
    for (DWORD code = 1; code <= 20; ++code) {
        SERVICE_STATUS status = Status(SERVICE_STOPPED, code);
        EXPECT_TRUE(SetServiceStatus(ForeignHandle(), &status));
    }
    EXPECT_TRUE(WaitForHandedOverReports(10000));
    EXPECT_EQ(LastSent().status.dwWin32ExitCode, 20U);
}

}  // namespace
}  // namespace dev_controller
