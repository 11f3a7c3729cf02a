#include "tarnwick-service/console_run.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "tarnwick-service/keldane_service.h"
#include "tests/support/child_process.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/tarnwick-service/console_capture.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "tests/tarnwick-service/fake_controller.h"

namespace tarnwick {
namespace {

using test::ErrorLine;
using test::Lines;
using test::LoaderLayout;
using test::TraceLine;
using Events = std::vector<std::string>;

constexpr ServiceDescriptor Descriptor = {L"Keldane", 0, 1, 0, L"key"};

const Lines Begin = {TraceLine(L"CoInitializeEx successed"),
                     TraceLine(L"Keldane is working... Press Ctrl+c to stop "),
                     TraceLine(L"Keldane in OnStart started")};
const Lines Stop = {TraceLine(L"Keldane in OnStop started"),
                    TraceLine(L"Keldane in OnStop finished ")};
const std::wstring Started = TraceLine(L"Keldane in OnStart finished");
const std::wstring Freed = TraceLine(L"OrrinFreeComponentModelController successed");
const std::wstring ControlEvent = TraceLine(L"Ctrl+c event was recieved ");

Lines operator+(Lines left, const Lines& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Lines operator+(Lines left, const std::wstring& right) {
    left.push_back(right);
    return left;
}

Events operator+(Events left, const Events& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// A list that can stand in a macro's argument.
template <class... Names>
Events List(Names... names) {
    return {names...};
}

const Events BeginEvents = {"CoInitializeEx",        "create",     "CreateEventA",
                            "SetConsoleCtrlHandler", "LoadAddons", "Activate"};
const Events StopEvents = {"NotifyOnStop", "Deactivate"};
const Events EndEvents = {"close event", "free", "CoUninitialize"};

/// A console run with recorded platform calls. A console event is sent as soon as the run waits for
/// it, on its own thread like the platform's.
class ConsoleRun : public testing::Test {
  protected:
    void TearDown() override { EXPECT_EQ(WindowsServiceBase::GetInstance(), nullptr); }

    void Press(DWORD controlType) {
        std::thread platform([&] { EXPECT_EQ(handler(controlType), TRUE); });
        platform.join();
    }

    test::LogCapture log;
    test::ConsoleCapture console;
    test::FakeController controller;
    PHANDLER_ROUTINE handler = nullptr;
    HANDLE event = nullptr;
    std::vector<DWORD> pressedInWait = {CTRL_C_EVENT};

    test::ScopedHook<test::CoInitializeExHook> initializeHook{[this](auto...) {
        controller.Note("CoInitializeEx");
        return S_OK;
    }};
    test::ScopedHook<test::CoUninitializeHook> uninitializeHook{
        [this] { controller.Note("CoUninitialize"); }};
    test::ScopedHook<test::CreateEventAHook> eventHook{
        [this](LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL signalled, const char* name) {
            if (event != nullptr) {  // some other event, of the run-time library's
                return test::CreateEventAHook::Real(security, manualReset, signalled, name);
            }
            EXPECT_EQ(security, nullptr);
            EXPECT_EQ(manualReset, TRUE);
            EXPECT_EQ(signalled, FALSE);
            EXPECT_EQ(name, nullptr);
            controller.Note("CreateEventA");
            event = test::CreateEventAHook::Real(security, manualReset, signalled, name);
            return event;
        }};
    test::ScopedHook<test::SetConsoleCtrlHandlerHook> handlerHook{
        [this](PHANDLER_ROUTINE routine, BOOL add) -> BOOL {
            controller.Note("SetConsoleCtrlHandler");
            EXPECT_EQ(add, TRUE);
            handler = routine;
            return TRUE;
        }};
    test::ScopedHook<test::WaitForSingleObjectHook> waitHook{
        [this](HANDLE handle, DWORD limitMs) -> DWORD {
            if (handle != event) {
                return test::WaitForSingleObjectHook::Real(handle, limitMs);
            }
            EXPECT_EQ(limitMs, INFINITE);
            controller.Note("wait for event");
            for (const DWORD controlType : pressedInWait) {
                Press(controlType);
            }
            const DWORD result = test::WaitForSingleObjectHook::Real(handle, 10000);
            EXPECT_EQ(result, WAIT_OBJECT_0);
            return result;
        }};
    test::ScopedHook<test::CloseHandleHook> closeHook{[this](HANDLE handle) {
        if (handle == event && handle != nullptr) {
            EXPECT_NE(WindowsServiceBase::GetInstance(), nullptr);
            controller.Note("close event");
        }
        return test::CloseHandleHook::Real(handle);
    }};
};

TEST_F(ConsoleRun, WholeRun_GoesFromCreateToFreeInOrder) {
    RunKeldane(Descriptor, false);
    EXPECT_EQ(controller.Events(), BeginEvents + List("wait for event") + StopEvents + EndEvents);
    EXPECT_EQ(log.Lines(), Begin + Started + ControlEvent + Stop + Freed);
    EXPECT_EQ(console.Text(), "");
    EXPECT_EQ(handler, &HandlerRoutine);
}

TEST_F(ConsoleRun, Steps_RunOnTheCallersThreadWithoutReportsOrThreads) {
    const test::ScopedHook<test::CreateThreadHook> noThread([](auto...) -> HANDLE {
        ADD_FAILURE() << "no thread is needed";
        return nullptr;
    });
    const test::ScopedHook<test::SetServiceStatusHook> noReport([](auto...) {
        ADD_FAILURE() << "nothing is to be reported";
        return FALSE;
    });
    RunKeldane(Descriptor, false);
    for (const char* call :
         {"create", "LoadAddons", "Activate", "NotifyOnStop", "Deactivate", "free"}) {
        EXPECT_EQ(controller.ThreadOf(call), ::GetCurrentThreadId()) << call;
    }
}

TEST_F(ConsoleRun, EventDuringTheStart_LetsItEndAndIsNotLost) {
    pressedInWait.clear();
    controller.actions["Activate"] = [this] { Press(CTRL_C_EVENT); };
    RunKeldane(Descriptor, false);
    EXPECT_EQ(controller.Events(), BeginEvents + List("wait for event") + StopEvents + EndEvents);
    EXPECT_EQ(log.Lines(), Begin + ControlEvent + Started + Stop + Freed);
}

TEST_F(ConsoleRun, EventDuringTheStop_WritesItsLineAndChangesNothingElse) {
    controller.actions["NotifyOnStop"] = [this] { Press(CTRL_C_EVENT); };
    RunKeldane(Descriptor, false);
    EXPECT_EQ(controller.Events(), BeginEvents + List("wait for event") + StopEvents + EndEvents);
    EXPECT_EQ(log.Lines(),
              Begin + Started + ControlEvent + Stop[0] + ControlEvent + Stop[1] + Freed);
}

TEST_F(ConsoleRun, EveryKindOfEvent_IsHandledAlike) {
    pressedInWait = {CTRL_C_EVENT,      CTRL_BREAK_EVENT,    CTRL_CLOSE_EVENT,
                     CTRL_LOGOFF_EVENT, CTRL_SHUTDOWN_EVENT, 77};
    RunKeldane(Descriptor, false);
    EXPECT_EQ(log.Lines(),
              Begin + Started + Lines(pressedInWait.size(), ControlEvent) + Stop + Freed);
}

TEST_F(ConsoleRun, FailingStart_EndsWithoutAWordAndWithoutTestSteps) {
    controller.results["Activate"] = 5;
    const test::ScopedHook<test::CopyFileWHook> noCopy([](auto...) {
        ADD_FAILURE() << "no test step is to run";
        return FALSE;
    });
    RunKeldane(Descriptor, true);
    EXPECT_EQ(controller.Events(), BeginEvents + List("Deactivate") + EndEvents);
    EXPECT_EQ(log.Lines(), Begin + ErrorLine(L"Orrin->Activate failed with error 5") +
                               TraceLine(L"Orrin->Deactivate started due to QUA-847") +
                               TraceLine(L"Orrin->Deactivate finished with code 0") + Started +
                               Freed);
    EXPECT_EQ(console.Text(), "");
}

TEST_F(ConsoleRun, SoftFailure_IsAStartThatWaits) {
    controller.results["Activate"] = 3;
    RunKeldane(Descriptor, false);
    EXPECT_EQ(controller.Events(),
              BeginEvents + List("Deactivate", "wait for event") + StopEvents + EndEvents);
}

TEST_F(ConsoleRun, MissingController_EndsAtTheStart) {
    controller.results["create"] = 2;
    RunKeldane(Descriptor, false);
    EXPECT_EQ(controller.Events(),
              (List("CoInitializeEx", "create", "CreateEventA", "SetConsoleCtrlHandler",
                    "close event", "CoUninitialize")));
}

TEST_F(ConsoleRun, FailingStop_ChangesNothing) {
    controller.results["NotifyOnStop"] = 1;
    RunKeldane(Descriptor, false);
    EXPECT_EQ(controller.Events(),
              BeginEvents + List("wait for event", "NotifyOnStop") + EndEvents);
    EXPECT_EQ(console.Text(), "");
}

TEST_F(ConsoleRun, Interrupt_LeavesLinesAndTheRunGoesOn) {
    controller.actions["LoadAddons"] = [this] {
        controller.AtCreate().At<test::PlainCallback>(LoaderLayout::Params + 32)();
    };
    RunKeldane(Descriptor, false);
    const std::wstring status =
        L"WindowsServiceBase->SetServiceStatus: dwCurrentState = SERVICE_STOPPED, dwWin32ExitCode "
        L"= 713, dwWaitHint = 0, dwControlsAccepted = 4, dwCheckPoint = 0 ";
    EXPECT_EQ(log.Lines(), Begin + ErrorLine(L"Intterrupt Callback occur") +
                               ErrorLine(status + L"failed with error 6 ") + TraceLine(status) +
                               Started + ControlEvent + Stop + Freed);
    EXPECT_EQ(controller.Events(), BeginEvents + List("wait for event") + StopEvents + EndEvents);
}

TEST_F(ConsoleRun, EnableServiceStop_FailsForWantOfAHandle) {
    controller.actions["LoadAddons"] = [this] {
        EXPECT_EQ(controller.AtCreate().At<test::EnableStop>(LoaderLayout::Interaction + 48)(), 6U);
    };
    RunKeldane(Descriptor, false);
    EXPECT_EQ(log.Lines(),
              Begin + TraceLine(L"Enable service stop ORRIN request occur") +
                  ErrorLine(L"WindowsServiceBase->SetServiceStatus: dwCurrentState = "
                            L"SERVICE_STOPPED, dwWin32ExitCode = 0, dwWaitHint = 0, "
                            L"dwControlsAccepted = 5, dwCheckPoint = 0 failed with error 6 ") +
                  Started + ControlEvent + Stop + Freed);
}

TEST_F(ConsoleRun, EventThatCannotBeMade_IsNotLookedAt) {
    const test::ScopedHook<test::CreateEventAHook> noEvent(
        [](auto...) -> HANDLE { return nullptr; });
    const test::ScopedHook<test::WaitForSingleObjectHook> realWait(
        [](HANDLE handle, DWORD limitMs) {
            return test::WaitForSingleObjectHook::Real(handle, limitMs);
        });
    RunKeldane(Descriptor, false);
    EXPECT_EQ(log.Lines(), Begin + Started + Stop + Freed);
}

TEST_F(ConsoleRun, WaitForTheEventThatFails_StopsAtOnceWithoutAWord) {
    const test::ScopedHook<test::WaitForSingleObjectHook> failingWait(
        [this](HANDLE handle, DWORD limitMs) -> DWORD {
            if (handle != event) {
                return test::WaitForSingleObjectHook::Real(handle, limitMs);
            }
            controller.Note("failed wait");
            ::SetLastError(ERROR_INVALID_HANDLE);
            return WAIT_FAILED;
        });
    RunKeldane(Descriptor, false);
    EXPECT_EQ(controller.Events(), BeginEvents + List("failed wait") + StopEvents + EndEvents);
    EXPECT_EQ(log.Lines(), Begin + Started + Stop + Freed);
}

TEST_F(ConsoleRun, SecondRun_IsLikeTheFirst) {
    RunKeldane(Descriptor, false);
    const Events first = controller.Events();
    const Lines firstLines = log.Lines();
    controller.ClearEvents();
    log.Clear();
    event = nullptr;
    RunKeldane(Descriptor, false);
    EXPECT_EQ(controller.Events(), first);
    EXPECT_EQ(log.Lines(), firstLines);
}

// ---- With the sample

constexpr std::uintptr_t SampleProcessHandle = 0x1111000;
constexpr std::uintptr_t SampleThreadHandle = 0x2222000;

class ConsoleRunWithSample : public ConsoleRun {
  protected:
    DWORD sampleError = 0;  ///< of the copy, the start and the delete
    std::wstring copyPath;
    std::wstring commandLine;
    std::wstring deletedPath;

    const HANDLE process = reinterpret_cast<HANDLE>(SampleProcessHandle);
    const HANDLE thread = reinterpret_cast<HANDLE>(SampleThreadHandle);

    BOOL Note(const char* call) {
        controller.Note(call);
        ::SetLastError(sampleError);
        return sampleError == 0 ? TRUE : FALSE;
    }

    test::ScopedHook<test::CopyFileWHook> copyHook{
        [this](const wchar_t*, const wchar_t* target, BOOL) {
            copyPath = target;
            return Note("copy");
        }};
    test::ScopedHook<test::CreateProcessWHook> startHook{
        [this](const wchar_t*, wchar_t* line, auto, auto, BOOL, DWORD, void*, const wchar_t*,
               STARTUPINFOW*, PROCESS_INFORMATION* information) {
            commandLine = line;
            if (sampleError == 0) {
                *information = {process, thread, 1, 2};
            }
            return Note("start sample");
        }};
    test::ScopedHook<test::TerminateProcessHook> terminateHook{
        [this](HANDLE handle, UINT exitCode) -> BOOL {
            EXPECT_EQ(handle, sampleError == 0 ? process : nullptr);
            EXPECT_EQ(exitCode, 0U);
            controller.Note("terminate sample");
            return sampleError == 0 ? TRUE : FALSE;
        }};
    test::ScopedHook<test::DeleteFileWHook> deleteHook{[this](const wchar_t* path) {
        deletedPath = path;
        return Note("delete");
    }};
    test::ScopedHook<test::CloseHandleHook> sampleCloseHook{[this](HANDLE handle) -> BOOL {
        if (handle == process || handle == thread) {
            controller.Note(handle == process ? "close process" : "close thread");
            return TRUE;
        }
        if (handle == event) {
            EXPECT_NE(WindowsServiceBase::GetInstance(), nullptr);
            controller.Note("close event");
        }
        return test::CloseHandleHook::Real(handle);
    }};
    test::ScopedHook<test::WaitForSingleObjectHook> sampleWaitHook{
        [this](HANDLE handle, DWORD limitMs) -> DWORD {
            if (handle == process) {
                EXPECT_EQ(limitMs, INFINITE);
                controller.Note("wait for sample");
                return WAIT_OBJECT_0;
            }
            if (handle == event) {
                controller.Note("wait for event");
                Press(CTRL_C_EVENT);
                return test::WaitForSingleObjectHook::Real(handle, 10000);
            }
            return test::WaitForSingleObjectHook::Real(handle, limitMs);
        }};
};

TEST_F(ConsoleRunWithSample, Sample_OutlivesTheServiceButNotTheObject) {
    RunKeldane(Descriptor, true);
    EXPECT_EQ(
        controller.Events(),
        BeginEvents + List("copy", "start sample", "wait for event") + StopEvents +
            List("terminate sample", "wait for sample", "close process", "close thread", "delete") +
            EndEvents);
    const std::wstring directory = test::OwnPath().parent_path().wstring() + L"\\";
    EXPECT_EQ(copyPath, directory + commandLine);
    EXPECT_EQ(deletedPath, copyPath);
    ASSERT_EQ(commandLine.size(), 12U + 15U);
    EXPECT_EQ(commandLine.substr(12), L"probe-plain.exe");
    EXPECT_EQ(commandLine.find_first_not_of(L"abcdefghijklmnopqrstuvwxyz"), commandLine.find(L'-'));
    EXPECT_EQ(console.Text(), "");
    EXPECT_EQ(log.Lines(), Begin + Started + ControlEvent + Stop + Freed);
}

TEST_F(ConsoleRunWithSample, MissingSample_IsToldTwiceAndTheRunGoesOn) {
    sampleError = ERROR_FILE_NOT_FOUND;
    RunKeldane(Descriptor, true);
    // Without a child process its end is requested anyway, on null handles that aren't closed.
    EXPECT_EQ(controller.Events(), BeginEvents + List("copy", "start sample", "wait for event") +
                                       StopEvents + List("terminate sample", "delete") + EndEvents);
    const std::string name = std::filesystem::path(commandLine).string();
    EXPECT_EQ(console.Text(),
              "CreateProcess (" + name + ") failed with error (2).\nDeleteFile error: 2\n");
    EXPECT_EQ(log.Lines(), Begin + Started + ControlEvent + Stop + Freed);
}

TEST_F(ConsoleRunWithSample, WithoutAPath_TheDeleteIsTriedAllTheSame) {
    const test::ScopedHook<test::PathAppendWHook> noPath([](auto...) { return FALSE; });
    sampleError = ERROR_PATH_NOT_FOUND;
    RunKeldane(Descriptor, true);
    EXPECT_EQ(deletedPath, L"");
    const std::string name = std::filesystem::path(commandLine).string();
    EXPECT_EQ(console.Text(), "PathAppendW error\nCreateProcess (" + name +
                                  ") failed with error (3).\nPathAppendW error\n"
                                  "DeleteFile error: 3\n");
}

TEST_F(ConsoleRunWithSample, TwoRuns_UseTwoNames) {
    RunKeldane(Descriptor, true);
    const std::wstring first = commandLine;
    event = nullptr;
    RunKeldane(Descriptor, true);
    EXPECT_NE(commandLine, first);
}

}  // namespace
}  // namespace tarnwick
