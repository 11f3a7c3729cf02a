// The source location of each log line, which shows when the log records source locations.

#include <gtest/gtest.h>

#include <cstddef>

#include "tarnwick-service/console_run.h"
#include "tarnwick-service/start_up.h"
#include "tarnwick-service/windows_service_base.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "tests/tarnwick-service/fake_controller.h"
#include "tests/tarnwick-service/thread_watch.h"

namespace tarnwick {
namespace {

using test::Lines;
using test::LoaderLayout;

framework::LoggerConfig ConfigWithLocations() {
    framework::LoggerConfig config = test::QuietConfig();
    config.RecordSourceLocation = true;
    return config;
}

/// "file: function" of each line so far.
Lines Sites(const test::LogCapture& log) {
    Lines sites;
    for (const std::wstring& line : log.Lines()) {
        const std::size_t file = line.find(L"] [") + 3;
        const std::size_t number = line.find(L"(line ", file);
        const std::size_t function = line.find(L"): ", number);
        const std::size_t end = line.find(L"] ", function);
        if (end == std::wstring::npos) {
            sites.push_back(L"no site in " + line);
            continue;
        }
        sites.push_back(line.substr(file, number - file) +
                        line.substr(function + 1, end - function - 1));
    }
    return sites;
}

TEST(LogSites, Parameters_AreLoggedByTheEntryPoint) {
    const test::LogCapture log(ConfigWithLocations());
    const wchar_t* const arguments[] = {L"program.exe", nullptr};
    LogParameters(1, arguments);
    EXPECT_EQ(Sites(log), (Lines{L"main: wmain", L"main: wmain"}));
}

TEST(LogSites, Framework_NamesEachOperation) {
    const test::LogCapture log(ConfigWithLocations());
    {
        test::ThreadWatch threads;
        threads.FailCreation(0, 8);
        threads.FailCreation(2, 8);
        const test::ScopedHook<test::RegisterServiceCtrlHandlerWHook> noHandle(
            [](auto...) -> SERVICE_STATUS_HANDLE { return nullptr; });
        const auto service = WindowsServiceBase::GetOrCreateBaseInstance(L"sites", 0, 1, 0);
        // Only their lines matter here.
        static_cast<void>(service->OnStart());
        static_cast<void>(service->OnStop());
        static_cast<void>(service->OnShutdown());
        static_cast<void>(service->OnPause());
        static_cast<void>(service->OnContinue());
        service->Pause();
        service->Continue();
        static_cast<void>(service->EnableStopFromSCM());
        WindowsServiceBase::ServiceMain(0, nullptr);
        service->StopAction();   // without an action thread
        service->StartAction();  // without a logic thread
        threads.JoinAll();
    }
    WindowsServiceBase::ResetInstance();
    const std::wstring prefix = L"windows_service_base: WindowsServiceBase::";
    const Lines sites = Sites(log);
    Lines expected;
    for (const wchar_t* function :
         {L"OnStart", L"OnStop", L"OnShutdown", L"OnPause", L"OnContinue", L"Pause", L"Continue",
          L"EnableStopFromSCM", L"ServiceMain", L"ServiceAction", L"SetServiceStatusUnsafe",
          L"SetServiceStatusUnsafe", L"ServiceActionRoutine", L"SetServiceStatusUnsafe",
          L"SetServiceStatusUnsafe"}) {
        expected.push_back(prefix + function);
    }
    ASSERT_GT(sites.size(), expected.size());
    EXPECT_EQ(Lines(sites.begin(), sites.begin() + static_cast<std::ptrdiff_t>(expected.size())),
              expected);
    EXPECT_EQ(sites.back(), prefix + L"ServiceActionRoutine");
}

/// The actions of a library that make the host log from everywhere.
void CallEveryCallback(const test::FakeController& controller) {
    const test::RecordBytes& loader = controller.AtCreate();
    test::FakeRegistrar registrar;
    registrar.results = {1, 1};
    loader.At<test::LogSink>(LoaderLayout::Params + 8)(nullptr, 0, nullptr, L"text");
    loader.At<test::PlainCallback>(LoaderLayout::Params + 32)();
    loader.At<test::RegisterEntry>(LoaderLayout::Params + 48)(
        registrar.Row(), nullptr, nullptr, loader.At<void*>(LoaderLayout::Params + 56));
    loader.At<test::EnableStop>(LoaderLayout::Interaction + 48)();
    loader.At<test::SetPreException>(LoaderLayout::Exception + 48)(nullptr, nullptr, nullptr);
    loader.At<test::RemovePreException>(LoaderLayout::Exception + 56)();
}

TEST(LogSites, ConsoleRunAndLoader_NameEachOperation) {
    const test::LogCapture log(ConfigWithLocations());
    test::FakeController controller;
    const test::ScopedHook<test::SetConsoleCtrlHandlerHook> noHandler([](auto...) { return TRUE; });
    const test::ScopedHook<test::CoInitializeExHook> noCom([](auto...) { return E_FAIL; });
    controller.results["Activate"] = 3;
    controller.results["NotifyOnStop"] = 1;
    controller.actions["LoadAddons"] = [&] { CallEveryCallback(controller); };
    controller.actions["Deactivate"] = [] { HandlerRoutine(CTRL_C_EVENT); };
    RunKeldane({L"sites", 0, 1, 0, L"key"}, false);
    const std::wstring loader = L"orrin_ctrl_loader: OrrinLoader::";
    const std::wstring base = L"windows_service_base: WindowsServiceBase::";
    EXPECT_EQ(Sites(log), (Lines{loader + L"OrrinLoader",
                                 L"main: RunKeldane",
                                 L"keldane_service: KeldaneService::OnStart",
                                 loader + L"OrrinLoggingCallback",
                                 loader + L"OrrinInterruptCallback",
                                 base + L"SetServiceStatusUnsafe",
                                 base + L"SetServiceStatusUnsafe",
                                 loader + L"RegisterHostComponent",
                                 loader + L"RegisterHostComponent",
                                 loader + L"OrrinEnableServiceStop",
                                 base + L"EnableStopFromSCM",
                                 loader + L"OrrinSetPreExceptionCallback",
                                 loader + L"OrrinRemovePreExceptionCallback",
                                 loader + L"Start",
                                 loader + L"Start",
                                 L"main: HandlerRoutine",
                                 loader + L"Start",
                                 L"keldane_service: KeldaneService::OnStart",
                                 L"keldane_service: KeldaneService::OnStop",
                                 loader + L"Stop",
                                 L"keldane_service: KeldaneService::OnStop",
                                 loader + L"~OrrinLoader"}));
}

}  // namespace
}  // namespace tarnwick
