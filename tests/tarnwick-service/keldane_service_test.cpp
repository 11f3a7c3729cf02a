#include "tarnwick-service/keldane_service.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/tarnwick-service/counted_sleep.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "tests/tarnwick-service/fake_controller.h"
#include "tests/tarnwick-service/signal.h"
#include "tests/tarnwick-service/status_recorder.h"
#include "tests/tarnwick-service/thread_watch.h"

namespace tarnwick {
namespace {

using test::Describe;
using test::ErrorLine;
using test::ExpectedReport;
using test::Lines;
using test::TraceLine;
using Events = std::vector<std::string>;
using Reports = std::vector<ExpectedReport>;

constexpr ServiceDescriptor Descriptor = {L"Keldane", 0, 1, 0, L"key"};

class Keldane : public testing::Test {
  protected:
    void TearDown() override {
        threads.JoinAll();
        WindowsServiceBase::ResetInstance();
    }

    std::shared_ptr<WindowsServiceBase> Make() {
        auto service = KeldaneService::GetOrCreateInstance(Descriptor);
        log.Clear();
        controller.ClearEvents();
        return service;
    }

    test::LogCapture log;
    test::FakeController controller;
    test::ScopedHook<test::CoInitializeExHook> initializeHook{[this](auto...) {
        controller.Note("CoInitializeEx");
        return S_OK;
    }};
    test::ScopedHook<test::CoUninitializeHook> uninitializeHook{
        [this] { controller.Note("CoUninitialize"); }};
    test::StatusRecorder statuses;
    test::ThreadWatch threads;
};

TEST_F(Keldane, Object_TakesItsNameAndControlsFromTheDescriptor) {
    const auto service = Make();
    EXPECT_EQ(service->ServiceName(), L"Keldane");
    service->ReportCurrentStatus();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{{SERVICE_STOPPED, 0, 0, 0, 4}}));
    EXPECT_NE(dynamic_cast<KeldaneService*>(service.get()), nullptr);
}

TEST_F(Keldane, Object_IsPublishedAfterTheLibrarysCreateCall) {
    controller.actions["create"] = [] { EXPECT_EQ(WindowsServiceBase::GetInstance(), nullptr); };
    const auto service = Make();
    EXPECT_EQ(WindowsServiceBase::GetInstance(), service);
}

TEST_F(Keldane, SecondCall_GivesTheFirstObjectWhateverItAsksFor) {
    const auto first = KeldaneService::GetOrCreateInstance(Descriptor);
    const auto second = KeldaneService::GetOrCreateInstance({L"Other", 1, 0, 1, L"other"});
    EXPECT_EQ(first, second);
    EXPECT_EQ(second->ServiceName(), L"Keldane");
    second->ReportCurrentStatus();
    EXPECT_EQ(statuses.Last().dwControlsAccepted, 4U);
    EXPECT_EQ(controller.Events(), (Events{"CoInitializeEx", "create"}));
}

/// Every byte of the object that isn't part of a field.
std::vector<unsigned char> Padding(const KeldaneService& service) {
    // After the status record; after the flag; after the descriptor's three flags.
    constexpr std::size_t Flag = sizeof(WindowsServiceBase);
    constexpr std::pair<std::size_t, std::size_t> Gaps[] = {
        {Flag - 20, 4}, {Flag + 1, 7}, {Flag + 27, 5}};
    static_assert(sizeof(KeldaneService) == Flag + 40);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&service);
    std::vector<unsigned char> padding;
    for (const auto& [offset, size] : Gaps) {
        padding.insert(padding.end(), bytes + offset, bytes + offset + size);
    }
    return padding;
}

TEST_F(Keldane, Object_IsZeroFilledBetweenItsFields) {
    const auto service = Make();
    EXPECT_EQ(Padding(dynamic_cast<const KeldaneService&>(*service)),
              std::vector<unsigned char>(16, 0));
}

TEST_F(Keldane, Loader_IsZeroFilledBetweenItsFields) {
    const auto service = Make();
    const test::RecordBytes& loader = controller.AtCreate();
    for (std::size_t offset = 2; offset < test::LoaderLayout::Controller; ++offset) {
        EXPECT_EQ(loader.At<std::uint8_t>(offset), 0U) << "at " << offset;
    }
    EXPECT_EQ(loader.Word(test::LoaderLayout::Controller), 0U);
}

TEST_F(Keldane, OnStopWithoutAController_SetsTheFlag) {
    controller.results["create"] = 5;
    const auto service = Make();
    const auto* const flag =
        reinterpret_cast<const unsigned char*>(dynamic_cast<KeldaneService*>(service.get())) +
        sizeof(WindowsServiceBase);
    EXPECT_EQ(*flag, 0U);
    EXPECT_EQ(service->OnStart(), 1359U);
    EXPECT_EQ(*flag, 0U);
    log.Clear();
    EXPECT_EQ(service->OnStop(), 1359U);
    EXPECT_EQ(*flag, 1U);
    EXPECT_EQ(log.Lines(), (Lines{TraceLine(L"Keldane in OnStop started"),
                                  ErrorLine(L"orrin does not initialized"),
                                  TraceLine(L"Keldane in OnStop finished ")}));
}

TEST_F(Keldane, TwoThreadsAtOnce_GetOneObjectAndOneCreateCall) {
    std::atomic<int> creates{0};
    test::Signal firstIsInside;
    test::Signal secondCreate;
    controller.actions["create"] = [&] {
        if (++creates == 1) {
            firstIsInside.Set();
            // Without the lock over the whole construction the other thread gets here.
            EXPECT_FALSE(secondCreate.Wait(200));
        } else {
            secondCreate.Set();
        }
    };
    std::shared_ptr<WindowsServiceBase> fromOther;
    std::thread other([&] { fromOther = KeldaneService::GetOrCreateInstance(Descriptor); });
    ASSERT_TRUE(firstIsInside.Wait());
    const auto service = KeldaneService::GetOrCreateInstance(Descriptor);
    other.join();
    EXPECT_EQ(service, fromOther);
    EXPECT_EQ(controller.Events(), (Events{"CoInitializeEx", "create"}));
}

TEST_F(Keldane, OnStart_IsFramedByTwoLines) {
    const auto service = Make();
    EXPECT_EQ(service->OnStart(), 0U);
    EXPECT_EQ(log.Lines(), (Lines{TraceLine(L"Keldane in OnStart started"),
                                  TraceLine(L"Keldane in OnStart finished")}));
    EXPECT_EQ(controller.Events(), (Events{"LoadAddons", "Activate"}));
}

TEST_F(Keldane, FailingOnStart_SaysFinishedToo) {
    controller.results["LoadAddons"] = 2;
    const auto service = Make();
    EXPECT_EQ(service->OnStart(), 1359U);
    EXPECT_EQ(log.Lines(), (Lines{TraceLine(L"Keldane in OnStart started"),
                                  ErrorLine(L"Orrin->LoadAddons failed with error 2"),
                                  TraceLine(L"Keldane in OnStart finished")}));
}

TEST_F(Keldane, OnStop_IsFramedByTwoLinesWithABlankInTheSecond) {
    const auto service = Make();
    EXPECT_EQ(service->OnStop(), 0U);
    EXPECT_EQ(log.Lines(), (Lines{TraceLine(L"Keldane in OnStop started"),
                                  TraceLine(L"Keldane in OnStop finished ")}));
    EXPECT_EQ(controller.Events(), (Events{"NotifyOnStop", "Deactivate"}));
}

TEST_F(Keldane, WithoutAController_StartAndStopGiveTheInternalError) {
    controller.results["create"] = 1;
    const auto service = Make();
    EXPECT_EQ(service->OnStart(), 1359U);
    EXPECT_EQ(service->OnStop(), 1359U);
    EXPECT_EQ(
        log.Lines(),
        (Lines{TraceLine(L"Keldane in OnStart started"), ErrorLine(L"orrin does not initialized"),
               TraceLine(L"Keldane in OnStart finished"), TraceLine(L"Keldane in OnStop started"),
               ErrorLine(L"orrin does not initialized"),
               TraceLine(L"Keldane in OnStop finished ")}));
    EXPECT_TRUE(controller.Events().empty());
}

TEST_F(Keldane, OtherSteps_AreThePlainOnes) {
    const auto service = Make();
    EXPECT_EQ(service->OnShutdown(), 0U);
    EXPECT_EQ(service->OnPause(), 0U);
    EXPECT_EQ(service->OnContinue(), 0U);
    EXPECT_EQ(log.Lines(), (Lines{TraceLine(L"WindowsServiceBase in OnShutdown "),
                                  TraceLine(L"WindowsServiceBase in OnPause "),
                                  TraceLine(L"WindowsServiceBase in OnContinue ")}));
    EXPECT_TRUE(controller.Events().empty());
}

TEST_F(Keldane, Run_EntersTheDispatcherUnderTheServicesName) {
    const auto service = Make();
    const test::ScopedHook<test::StartServiceCtrlDispatcherWHook> hook(
        [](const SERVICE_TABLE_ENTRYW* table) -> BOOL {
            EXPECT_STREQ(table[0].lpServiceName, L"Keldane");
            return TRUE;
        });
    EXPECT_EQ(service->Run(), TRUE);
}

TEST_F(Keldane, LastReference_FreesTheControllerOnceOnItsThread) {
    auto service = Make();
    WindowsServiceBase::ResetInstance();
    EXPECT_TRUE(controller.Events().empty());
    DWORD threadId = 0;
    std::thread last([&] {
        threadId = ::GetCurrentThreadId();
        service.reset();
    });
    last.join();
    EXPECT_EQ(controller.Events(), (Events{"free", "CoUninitialize"}));
    EXPECT_EQ(controller.ThreadOf("free"), threadId);
}

// ---- Under the service actions

TEST_F(Keldane, FailingActivate_IsSeenAsTheServicesExitCode) {
    controller.results["Activate"] = 5;
    Make()->StartAction();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{{SERVICE_START_PENDING, 0, 0, 0, 4},
                                                   {SERVICE_RUNNING, 0, 0, 0, 4},
                                                   {SERVICE_STOPPED, 1359, 0, 0, 4}}));
    // A stop doesn't follow a failed start.
    EXPECT_EQ(controller.Events(), (Events{"LoadAddons", "Activate", "Deactivate"}));
}

TEST_F(Keldane, SoftFailure_LeavesTheServiceRunning) {
    controller.results["Activate"] = 3;
    Make()->StartAction();
    threads.JoinAll();
    EXPECT_EQ(statuses.Reports(), Describe(Reports{{SERVICE_START_PENDING, 0, 0, 0, 4},
                                                   {SERVICE_RUNNING, 0, 0, 0, 4}}));
}

TEST_F(Keldane, StopBesideASlowStart_ReachesTheLibraryMeanwhile) {
    test::Signal loading;
    test::Signal deactivated;
    test::Signal stopReported;
    controller.actions["LoadAddons"] = [&] {
        loading.Set();
        EXPECT_TRUE(deactivated.Wait());
    };
    controller.actions["Deactivate"] = [&] { deactivated.Set(); };
    statuses.OnReport([&](const SERVICE_STATUS& status) {
        if (status.dwCurrentState == SERVICE_STOPPED) {
            stopReported.Set();
        }
    });
    test::CountedSleep sleeps{100};
    sleeps.OnSleep([&](int) { EXPECT_TRUE(stopReported.Wait()); });
    const auto service = Make();
    service->StartAction();
    ASSERT_TRUE(loading.Wait());
    service->ShutdownAction();
    threads.JoinAll();
    const Events events = controller.Events();
    ASSERT_EQ(events.size(), 4U);
    EXPECT_EQ(events[0], "LoadAddons");
    EXPECT_EQ(events[1], "NotifyOnStop");
    EXPECT_EQ(events[2], "Deactivate");
    EXPECT_EQ(events[3], "Activate");
}

}  // namespace
}  // namespace tarnwick
