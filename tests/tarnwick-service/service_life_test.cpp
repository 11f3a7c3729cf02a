// The owners of the service object, and where and when it is destroyed.

#include <gtest/gtest.h>

#include <atomic>

#include "tests/support/log_capture.h"
#include "tests/tarnwick-service/counted_sleep.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "tests/tarnwick-service/signal.h"
#include "tests/tarnwick-service/status_recorder.h"
#include "tests/tarnwick-service/test_service.h"
#include "tests/tarnwick-service/thread_watch.h"

namespace tarnwick {
namespace {

class ServiceLife : public testing::Test {
  protected:
    ServiceLife() {
        service->destroyed = [this] {
            ++destructions;
            destroyedOn = ::GetCurrentThreadId();
            slotWasEmpty = WindowsServiceBase::GetInstance() == nullptr;
        };
        statuses.OnReport([this](const SERVICE_STATUS& status) {
            if (status.dwCurrentState == SERVICE_STOPPED) {
                stopReported.Set();
            }
        });
        sleeps.OnSleep([this](int) { EXPECT_TRUE(reporterMayGo.Wait()); });
    }

    void TearDown() override {
        threads.JoinAll();
        WindowsServiceBase::ResetInstance();
        EXPECT_EQ(destructions, 1);
    }

    /// Drops this reference; the other owners keep the object.
    void LetGo() {
        service.reset();
        WindowsServiceBase::ResetInstance();
    }

    test::LogCapture log;
    test::Signal stopReported;
    test::Signal reporterMayGo;
    test::StatusRecorder statuses;
    test::CountedSleep sleeps{100};
    std::atomic<int> destructions{0};
    std::atomic<DWORD> destroyedOn{0};
    std::atomic<bool> slotWasEmpty{false};
    test::ThreadWatch threads;
    std::shared_ptr<test::TestService> service = test::TestService::Create();
};

TEST_F(ServiceLife, Reset_EmptiesTheSlotBeforeTheObjectGoes) {
    LetGo();
    EXPECT_EQ(destructions, 1);
    EXPECT_TRUE(slotWasEmpty);
    EXPECT_EQ(destroyedOn, ::GetCurrentThreadId());
    EXPECT_EQ(WindowsServiceBase::GetInstance(), nullptr);
}

TEST_F(ServiceLife, GetInstance_AddsAHolder) {
    auto holder = WindowsServiceBase::GetInstance();
    EXPECT_EQ(holder, service);
    LetGo();
    EXPECT_EQ(destructions, 0);
    holder.reset();
    EXPECT_EQ(destructions, 1);
}

TEST_F(ServiceLife, ResetDuringAStart_LeavesTheObjectToTheActionThread) {
    test::Signal running;
    test::Signal mayEnd;
    service->start = [&]() -> DWORD {
        running.Set();
        EXPECT_TRUE(mayEnd.Wait());
        return 0;
    };
    service->StartAction();
    ASSERT_TRUE(running.Wait());
    LetGo();
    EXPECT_EQ(destructions, 0);
    const DWORD actionThread = threads.ThreadId(0);
    mayEnd.Set();
    threads.JoinAll();
    EXPECT_EQ(destructions, 1);
    EXPECT_EQ(destroyedOn, actionThread);
    // The last line is written before the reference is released.
    EXPECT_EQ(log.Lines().back(),
              test::TraceLine(L"WindowsServiceBase->Start: finished successfully "));
}

TEST_F(ServiceLife, LogicThatOutlivesItsAction_IsTheLastHolder) {
    test::Signal running;
    test::Signal mayEnd;
    service->start = [&]() -> DWORD {
        running.Set();
        EXPECT_TRUE(mayEnd.Wait());
        return 0;
    };
    threads.FailWaitAtOnce(1, 87);
    service->StartAction();
    ASSERT_TRUE(running.Wait());
    threads.Join(0);
    LetGo();
    EXPECT_EQ(destructions, 0);
    const DWORD logicThread = threads.ThreadId(1);
    mayEnd.Set();
    threads.JoinAll();
    EXPECT_EQ(destroyedOn, logicThread);
}

TEST_F(ServiceLife, ReporterThatOutlivesItsAction_IsTheLastHolder) {
    test::Signal reporterSleeps;
    sleeps.OnSleep([&](int) {
        reporterSleeps.Set();
        EXPECT_TRUE(reporterMayGo.Wait());
    });
    service->stop = [&]() -> DWORD {
        EXPECT_TRUE(reporterSleeps.Wait());
        return 0;
    };
    threads.FailWaitAtOnce(1, 87);
    service->StopAction();
    threads.Join(0);
    threads.Join(2);
    LetGo();
    EXPECT_EQ(destructions, 0);
    const DWORD reporterThread = threads.ThreadId(1);
    reporterMayGo.Set();
    threads.JoinAll();
    EXPECT_EQ(destroyedOn, reporterThread);
}

TEST_F(ServiceLife, ResetDuringAStop_LeavesTheObjectToTheHandler) {
    // In the reporter's sleep all have their references: the stop is reported after the logic.
    sleeps.OnSleep([this](int) {
        EXPECT_TRUE(stopReported.Wait());
        LetGo();
    });
    WindowsServiceBase::ServiceControlHandler(SERVICE_CONTROL_STOP);
    EXPECT_EQ(destructions, 1);
    EXPECT_EQ(destroyedOn, ::GetCurrentThreadId());
}

TEST(ServiceSlot, Empty_GivesNoInstance) {
    EXPECT_EQ(WindowsServiceBase::GetInstance(), nullptr);
}

TEST(ServiceSlot, PlainService_IsMadeOnceWhateverTheSecondCallAsks) {
    test::StatusRecorder statuses;
    const auto first = WindowsServiceBase::GetOrCreateBaseInstance(L"first", 1, 1, 1);
    const auto second = WindowsServiceBase::GetOrCreateBaseInstance(L"second", 0, 0, 0);
    EXPECT_EQ(first, second);
    EXPECT_EQ(WindowsServiceBase::GetInstance(), first);
    EXPECT_EQ(first->ServiceName(), L"first");
    first->ReportCurrentStatus();
    EXPECT_EQ(statuses.Last().dwControlsAccepted, 7U);
    WindowsServiceBase::ResetInstance();
}

TEST(ServiceSlot, AfterAReset_IsFilledAnew) {
    WindowsServiceBase::GetOrCreateBaseInstance(L"first", 0, 1, 0);
    WindowsServiceBase::ResetInstance();
    EXPECT_EQ(WindowsServiceBase::GetOrCreateBaseInstance(L"second", 0, 1, 0)->ServiceName(),
              L"second");
    WindowsServiceBase::ResetInstance();
}

}  // namespace
}  // namespace tarnwick
