#include "tools/service-watch/state_text.h"

#include <gtest/gtest.h>

namespace service_watch {
namespace {

SERVICE_STATUS_PROCESS Status(DWORD state) {
    SERVICE_STATUS_PROCESS status = {};
    status.dwCurrentState = state;
    return status;
}

TEST(DescribeStatus, RunningAndPending) {
    SERVICE_STATUS_PROCESS status = Status(SERVICE_RUNNING);
    EXPECT_EQ(DescribeStatus(status), "RUNNING        accepts nothing");
    status.dwControlsAccepted = SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN;
    EXPECT_EQ(DescribeStatus(status), "RUNNING        accepts stop, shutdown");
    status.dwCurrentState = SERVICE_STOP_PENDING;
    status.dwCheckPoint = 2;
    status.dwWaitHint = 20000;
    EXPECT_EQ(DescribeStatus(status),
              "STOP_PENDING   accepts stop, shutdown, checkpoint 2, wait hint 20000 ms");
}

TEST(DescribeStatus, Stopped_TellsTheExitCode) {
    SERVICE_STATUS_PROCESS status = Status(SERVICE_STOPPED);
    status.dwWin32ExitCode = 1359;
    EXPECT_EQ(DescribeStatus(status), "STOPPED        exit code 1359");
    status.dwWin32ExitCode = ERROR_SERVICE_SPECIFIC_ERROR;
    status.dwServiceSpecificExitCode = 7;
    EXPECT_EQ(DescribeStatus(status), "STOPPED        exit code 7 (its own)");
}

TEST(SameReport, EachFieldOfTheReport_Counts) {
    const SERVICE_STATUS_PROCESS one = Status(SERVICE_RUNNING);
    SERVICE_STATUS_PROCESS other = one;
    other.dwProcessId = 5;  // not part of what a service reports
    EXPECT_TRUE(SameReport(one, other));
    for (DWORD SERVICE_STATUS_PROCESS::* field :
         {&SERVICE_STATUS_PROCESS::dwCurrentState, &SERVICE_STATUS_PROCESS::dwControlsAccepted,
          &SERVICE_STATUS_PROCESS::dwWin32ExitCode,
          &SERVICE_STATUS_PROCESS::dwServiceSpecificExitCode, &SERVICE_STATUS_PROCESS::dwCheckPoint,
          &SERVICE_STATUS_PROCESS::dwWaitHint}) {
        other = one;
        other.*field += 1;
        EXPECT_FALSE(SameReport(one, other));
    }
}

}  // namespace
}  // namespace service_watch
