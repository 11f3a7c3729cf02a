// The entry points that the Service Control Manager calls.

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/log_capture.h"
#include "tests/tarnwick-service/counted_sleep.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "tests/tarnwick-service/signal.h"
#include "tests/tarnwick-service/status_recorder.h"
#include "tests/tarnwick-service/test_service.h"
#include "tests/tarnwick-service/thread_watch.h"

namespace tarnwick {
namespace {

using test::Describe;
using test::ErrorLine;
using test::ExpectedReport;
using test::Lines;
using test::ShutdownOnly;
using test::StatusLine;
using test::TraceLine;
using Reports = std::vector<ExpectedReport>;

const auto StatusHandle = reinterpret_cast<SERVICE_STATUS_HANDLE>(std::uintptr_t{0x5150});

class ServiceControl : public testing::Test {
  protected:
    ServiceControl() {
        sleeps.OnSleep([this](int) { EXPECT_TRUE(stopReported.Wait()); });
        statuses.OnReport([this](const SERVICE_STATUS& status) {
            if (status.dwCurrentState == SERVICE_STOPPED) {
                stopReported.Set();
            }
        });
    }

    void TearDown() override {
        threads.JoinAll();
        WindowsServiceBase::ResetInstance();
    }

    /// Brings the service to SERVICE_RUNNING and clears the records.
    void Start() {
        WindowsServiceBase::ServiceMain(0, nullptr);
        threads.JoinAll();
        statuses.Clear();
        log.Clear();
    }

    test::LogCapture log;
    test::Signal stopReported;
    test::StatusRecorder statuses;
    test::CountedSleep sleeps{100};
    test::ThreadWatch threads;
    DWORD registerError = 0;
    std::wstring registeredName;
    LPHANDLER_FUNCTION registeredHandler = nullptr;
    test::ScopedHook<test::RegisterServiceCtrlHandlerWHook> registerHook{
        [this](const wchar_t* name, LPHANDLER_FUNCTION handler) -> SERVICE_STATUS_HANDLE {
            registeredName = name;
            registeredHandler = handler;
            ::SetLastError(registerError);
            return registerError == 0 ? StatusHandle : nullptr;
        }};
    std::shared_ptr<test::TestService> service = test::TestService::Create();
};

TEST_F(ServiceControl, ServiceMain_RegistersItsHandlerAndStarts) {
    WindowsServiceBase::ServiceMain(0, nullptr);
    threads.JoinAll();
    EXPECT_EQ(registeredName, L"TestService");
    EXPECT_EQ(registeredHandler, &WindowsServiceBase::ServiceControlHandler);
    EXPECT_EQ(statuses.Reports(), Describe(Reports{{SERVICE_START_PENDING, 0, 0, 0, ShutdownOnly},
                                                   {SERVICE_RUNNING, 0, 0, 0, ShutdownOnly}}));
    EXPECT_EQ(statuses.Handles(), (std::vector<SERVICE_STATUS_HANDLE>{StatusHandle, StatusHandle}));
    EXPECT_EQ(log.Lines().size(), 6U);
}

TEST_F(ServiceControl, ServiceMain_ComesBackWhileTheStartGoesOn) {
    test::Signal mayEnd;
    service->start = [&]() -> DWORD {
        EXPECT_TRUE(mayEnd.Wait());
        return 0;
    };
    WindowsServiceBase::ServiceMain(0, nullptr);
    mayEnd.Set();
    threads.JoinAll();
}

TEST_F(ServiceControl, StartParameters_ChangeNothing) {
    wchar_t name[] = L"OtherName";
    wchar_t option[] = L"-sleep";
    wchar_t* arguments[] = {name, option, nullptr};
    WindowsServiceBase::ServiceMain(2, arguments);
    threads.JoinAll();
    EXPECT_EQ(registeredName, L"TestService");
    EXPECT_EQ(log.Lines().front(),
              TraceLine(L"WindowsServiceBase->Start: entered ServiceActionRoutine"));
    EXPECT_EQ(log.Lines().size(), 6U);
}

TEST_F(ServiceControl, ServiceMainWithoutHandle_LogsAndReportsNothing) {
    registerError = 1063;
    WindowsServiceBase::ServiceMain(0, nullptr);
    EXPECT_EQ(log.Lines(), Lines{ErrorLine(L"ServiceMain RegisterServiceCtrlHandlerW failed with "
                                           L"error 1063 ")});
    EXPECT_EQ(statuses.Reports(), std::vector<std::string>{});
    EXPECT_TRUE(threads.Creations().empty());
}

TEST_F(ServiceControl, Stop_IsOverWhenTheHandlerComesBack) {
    Start();
    WindowsServiceBase::ServiceControlHandler(SERVICE_CONTROL_STOP);
    EXPECT_EQ(statuses.Reports(),
              Describe(Reports{{SERVICE_STOP_PENDING, 0, 20000, 0, ShutdownOnly},
                               {SERVICE_STOPPED, 0, 0, 0, ShutdownOnly}}));
    EXPECT_EQ(log.Lines().front(),
              TraceLine(L"WindowsServiceBase->Stop: entered ServiceActionRoutine"));
    EXPECT_EQ(log.Lines().back(),
              TraceLine(L"WindowsServiceBase->Stop: thread hServiceActionRoutine was finished"));
}

TEST_F(ServiceControl, Shutdown_RunsOnStopUnderItsOwnName) {
    Start();
    int stops = 0;
    service->stop = [&]() -> DWORD {
        ++stops;
        return 0;
    };
    WindowsServiceBase::ServiceControlHandler(SERVICE_CONTROL_SHUTDOWN);
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(statuses.Reports(),
              Describe(Reports{{SERVICE_STOP_PENDING, 0, 20000, 0, ShutdownOnly},
                               {SERVICE_STOPPED, 0, 0, 0, ShutdownOnly}}));
    EXPECT_EQ(log.Lines().back(),
              TraceLine(L"WindowsServiceBase->Shutdown: thread hServiceActionRoutine was "
                        L"finished"));
}

TEST_F(ServiceControl, PauseAndContinue_LogALineAndNothingElse) {
    Start();
    const std::size_t threadsBefore = threads.Creations().size();
    WindowsServiceBase::ServiceControlHandler(SERVICE_CONTROL_PAUSE);
    WindowsServiceBase::ServiceControlHandler(SERVICE_CONTROL_CONTINUE);
    EXPECT_EQ(log.Lines(), (Lines{TraceLine(L"WindowsServiceBase->Pause() command recieved "),
                                  TraceLine(L"WindowsServiceBase->Continue() command recieved ")}));
    EXPECT_EQ(statuses.Reports(), std::vector<std::string>{});
    EXPECT_EQ(threads.Creations().size(), threadsBefore);
}

TEST_F(ServiceControl, Interrogate_RepeatsTheLastReportWithoutALine) {
    Start();
    service->SetServiceStatusSafe(SERVICE_STOP_PENDING, 0, 20000);
    service->SetServiceStatusSafe(SERVICE_STOP_PENDING, 0, 20000);
    log.Clear();
    statuses.Clear();
    WindowsServiceBase::ServiceControlHandler(SERVICE_CONTROL_INTERROGATE);
    WindowsServiceBase::ServiceControlHandler(SERVICE_CONTROL_INTERROGATE);
    const ExpectedReport same = {SERVICE_STOP_PENDING, 0, 20000, 1, ShutdownOnly};
    EXPECT_EQ(statuses.Reports(), Describe(Reports{same, same}));
    EXPECT_EQ(statuses.Handles().back(), StatusHandle);
    EXPECT_EQ(log.Lines(), Lines{});
}

TEST_F(ServiceControl, RefusedAnswerToAnInterrogation_IsNotLookedAt) {
    Start();
    log.Clear();
    statuses.Clear();
    statuses.FailWith(ERROR_INVALID_HANDLE);
    WindowsServiceBase::ServiceControlHandler(SERVICE_CONTROL_INTERROGATE);
    EXPECT_EQ(statuses.Reports().size(), 1U);
    EXPECT_EQ(log.Lines(), Lines{});
}

TEST_F(ServiceControl, UnknownControls_AreIgnoredInSilence) {
    Start();
    const std::size_t threadsBefore = threads.Creations().size();
    for (const DWORD control : {0U, 6U, 7U, 13U, 14U, 15U, 128U, 255U, 0x10001U, 0xFFFFFFFFU}) {
        WindowsServiceBase::ServiceControlHandler(control);
    }
    EXPECT_EQ(log.Lines(), Lines{});
    EXPECT_EQ(statuses.Reports(), std::vector<std::string>{});
    EXPECT_EQ(threads.Creations().size(), threadsBefore);
}

TEST_F(ServiceControl, ForcedStop_IsTheReportAndNothingElse) {
    Start();
    service->stop = [] {
        ADD_FAILURE() << "a forced stop stops nothing by itself";
        return DWORD{0};
    };
    const std::size_t threadsBefore = threads.Creations().size();
    service->SetServiceStatusSafe(SERVICE_STOPPED, 713, 0);
    EXPECT_EQ(statuses.Reports(), Describe(Reports{{SERVICE_STOPPED, 713, 0, 0, ShutdownOnly}}));
    EXPECT_EQ(threads.Creations().size(), threadsBefore);
}

class Dispatcher : public ServiceControl {
  protected:
    std::function<BOOL(const SERVICE_TABLE_ENTRYW*)> dispatch;
    test::ScopedHook<test::StartServiceCtrlDispatcherWHook> dispatchHook{
        [this](const SERVICE_TABLE_ENTRYW* table) { return dispatch(table); }};
};

TEST_F(Dispatcher, Run_HandsOverOneServiceAndClosesTheTable) {
    dispatch = [](const SERVICE_TABLE_ENTRYW* table) -> BOOL {
        EXPECT_STREQ(table[0].lpServiceName, L"TestService");
        EXPECT_EQ(table[0].lpServiceProc, &WindowsServiceBase::ServiceMain);
        EXPECT_EQ(table[1].lpServiceName, nullptr);
        EXPECT_EQ(table[1].lpServiceProc, nullptr);
        return TRUE;
    };
    EXPECT_EQ(service->Run(), TRUE);
    EXPECT_EQ(log.Lines(), Lines{});
}

TEST_F(Dispatcher, RunThatFails_GivesTheResultAndSaysNothing) {
    dispatch = [](const SERVICE_TABLE_ENTRYW*) -> BOOL {
        ::SetLastError(ERROR_FAILED_SERVICE_CONTROLLER_CONNECT);
        return FALSE;
    };
    EXPECT_EQ(service->Run(), FALSE);
    EXPECT_EQ(log.Lines(), Lines{});
    EXPECT_EQ(statuses.Reports(), std::vector<std::string>{});
}

// The manager's side, like the platform: the entry routine on its own thread, controls on the
// thread that entered the dispatcher.
TEST_F(Dispatcher, WholeLife_GoesFromStartPendingToStopped) {
    service->start = [this] { return service->EnableStopFromSCM(); };
    dispatch = [this](const SERVICE_TABLE_ENTRYW* table) -> BOOL {
        std::thread entry([&] { table[0].lpServiceProc(0, nullptr); });
        entry.join();
        threads.JoinAll();
        registeredHandler(SERVICE_CONTROL_INTERROGATE);
        registeredHandler(SERVICE_CONTROL_STOP);
        return TRUE;
    };
    EXPECT_EQ(service->Run(), TRUE);
    const std::vector<std::string> reports = statuses.Reports();
    ASSERT_EQ(reports.size(), 6U);
    EXPECT_EQ(reports[0], Describe(ExpectedReport{SERVICE_START_PENDING, 0, 0, 0, 4}));
    // The order of SERVICE_RUNNING and the stop permission depends on the threads; both are
    // reported by now.
    EXPECT_EQ(reports[3], Describe(ExpectedReport{SERVICE_RUNNING, 0, 0, 0, 5}));
    EXPECT_EQ(reports[4], Describe(ExpectedReport{SERVICE_STOP_PENDING, 0, 20000, 0, 5}));
    EXPECT_EQ(reports[5], Describe(ExpectedReport{SERVICE_STOPPED, 0, 0, 0, 5}));
}

}  // namespace
}  // namespace tarnwick
