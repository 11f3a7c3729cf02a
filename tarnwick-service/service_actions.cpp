// How the service starts, stops and shuts down: one mechanism, driven by a record.

#include <memory>
#include <mutex>
#include <utility>

#include "framework/system/unique_handle.h"
#include "tarnwick-service/filter_frame.h"
#include "tarnwick-service/windows_service_base.h"

namespace tarnwick {

using framework::KernelHandle;
using framework::LogError;
using framework::LogSite;
using framework::LogTrace;

namespace {

constexpr const wchar_t* File = L"windows_service_base";

/// What the SCM is told to expect of a stop, and how often it hears of one that still runs.
constexpr DWORD StopWaitHintMs = 20000;
constexpr DWORD PendingIntervalMs = 5000;

KernelHandle StartThread(LPTHREAD_START_ROUTINE routine, void* parameter) {
    return KernelHandle(::CreateThread(nullptr, 0, routine, parameter, 0, nullptr));
}

/// Waits without limit. False if the wait failed, with the reason in `GetLastError`.
bool WaitForEnd(const KernelHandle& thread) {
    return ::WaitForSingleObject(thread.Get(), INFINITE) == WAIT_OBJECT_0;
}

}  // namespace

/// One run of an action, on the action's own thread: reports, runs the logic on another thread,
/// waits, reports. Every failure turns into the same outcome: it is logged, and `failureState` is
/// reported with its error, also if that is 0. No wait has a limit and no thread is ended by force.
class ServiceActionRun {
  public:
    ServiceActionRun(const ServiceActionRecord& record, WindowsServiceBase& service)
        : record_(record), service_(service), name_(record.actionName.c_str()) {}

    DWORD Run() {
        service_.SetServiceStatusSafe(record_.pendingState, ERROR_SUCCESS, record_.waitHint);
        RunLogic();
        ReportOutcome();
        if (pendingThread_) {
            AwaitPendingReporter();
        }
        logicThread_.Reset();
        pendingThread_.Reset();
        if (failed_) {
            LogError(Site, L"WindowsServiceBase->%s: finished with error %lu \n", name_, result_);
        } else {
            LogTrace(Site, L"WindowsServiceBase->%s: finished successfully \n", name_);
        }
        return result_;
    }

    static constexpr LogSite Site = {File, L"WindowsServiceBase::ServiceActionRoutine"};

  private:
    void Fail(DWORD error) {
        failed_ = true;
        result_ = error;
    }

    void RunLogic() {
        // Without its reporter the logic isn't run at all: the SCM would take a slow one for hung.
        if (!record_.finalAtOnce && !StartPendingReporter()) {
            return;
        }
        logicThread_ = StartThread(record_.logicRoutine, nullptr);
        if (!logicThread_) {
            Fail(::GetLastError());
            LogError(Site,
                     L"WindowsServiceBase->%s: create hLogicExecutionThread failed with error %lu "
                     L"\n",
                     name_, result_);
            return;
        }
        LogTrace(Site, L"WindowsServiceBase->%s: thread with main action logic was created\n",
                 name_);
        if (record_.finalAtOnce) {
            service_.SetServiceStatusSafe(record_.finalState, ERROR_SUCCESS, 0);
        }
        AwaitLogic();
    }

    /// False if there is none.
    bool StartPendingReporter() {
        auto copy = std::make_unique<ServiceActionRecord>(record_);
        pendingThread_ = StartThread(record_.pendingRoutine, copy.get());
        if (!pendingThread_) {
            Fail(::GetLastError());
            LogError(Site,
                     L"WindowsServiceBase->%s: pending thread creation failed with error %lu\n",
                     name_, result_);
            return false;
        }
        // The thread owns it now.
        static_cast<void>(copy.release());
        LogTrace(Site, L"WindowsServiceBase->%s: pending thread was created\n", name_);
        return true;
    }

    void AwaitLogic() {
        if (!WaitForEnd(logicThread_)) {
            Fail(::GetLastError());
            LogError(Site,
                     L"WindowsServiceBase->%s: WaitForSingleObject hLogicExecutionThread failed "
                     L"with error %lu \n",
                     name_, result_);
            return;
        }
        LogTrace(Site, L"WindowsServiceBase->%s: thread with main action logic was finished\n",
                 name_);
        DWORD logicResult = ERROR_SUCCESS;
        if (::GetExitCodeThread(logicThread_.Get(), &logicResult) == FALSE) {
            Fail(::GetLastError());
            LogError(Site, L"WindowsServiceBase->%s: GetExitCodeThread failed with error %lu \n",
                     name_, result_);
        } else if (logicResult != ERROR_SUCCESS) {
            Fail(logicResult);
        }
    }

    void ReportOutcome() {
        if (failed_) {
            service_.SetServiceStatusSafe(record_.failureState, result_, 0);
        } else if (!record_.finalAtOnce) {
            service_.SetServiceStatusSafe(record_.finalState, ERROR_SUCCESS, 0);
        }
    }

    /// The reporter ends by itself now that the state is another one. An error replaces the result,
    /// though the SCM has had its report.
    void AwaitPendingReporter() {
        if (!WaitForEnd(pendingThread_)) {
            Fail(::GetLastError());
            LogError(Site,
                     L"WindowsServiceBase->%s: WaitForSingleObject hPendingThread failed with "
                     L"error %lu \n",
                     name_, result_);
            return;
        }
        LogTrace(Site, L"WindowsServiceBase->%s: pending thread was finished\n", name_);
    }

    const ServiceActionRecord& record_;
    WindowsServiceBase& service_;
    const wchar_t* name_;
    KernelHandle logicThread_;
    KernelHandle pendingThread_;
    bool failed_ = false;
    DWORD result_ = ERROR_SUCCESS;  ///< of the logic, or the error of what failed
};

// SERVICE_RUNNING is told as soon as the start logic has a thread, so the start needs neither a
// reporter nor a wait hint.
void WindowsServiceBase::StartAction() {
    ServiceAction({.finalState = SERVICE_RUNNING,
                   .failureState = SERVICE_STOPPED,
                   .pendingState = SERVICE_START_PENDING,
                   .logicRoutine = RunOnStartLogic,
                   .pendingRoutine = PendingReporterRoutine,
                   .waitHint = 0,
                   .pendingIntervalMs = 0,
                   .actionName = L"Start",
                   .finalAtOnce = true});
}

void WindowsServiceBase::StopAction() {
    StopUnderName(L"Stop");
}

// A stop under another name, on purpose: OnShutdown is never called.
void WindowsServiceBase::ShutdownAction() {
    StopUnderName(L"Shutdown");
}

void WindowsServiceBase::StopUnderName(const wchar_t* actionName) {
    ServiceAction({.finalState = SERVICE_STOPPED,
                   .failureState = SERVICE_STOPPED,
                   .pendingState = SERVICE_STOP_PENDING,
                   .logicRoutine = RunOnStopLogic,
                   .pendingRoutine = PendingReporterRoutine,
                   .waitHint = StopWaitHintMs,
                   .pendingIntervalMs = PendingIntervalMs,
                   .actionName = actionName,
                   .finalAtOnce = false});
}

void WindowsServiceBase::ServiceAction(const ServiceActionRecord& record) {
    constexpr LogSite Site = {File, L"WindowsServiceBase::ServiceAction"};
    const wchar_t* name = record.actionName.c_str();
    // The copy is the thread's. When there is no thread it isn't freed either: a thread that
    // couldn't be made leaves nothing that is worth a second path.
    auto* copy = new ServiceActionRecord(record);
    const KernelHandle thread = StartThread(ServiceActionRoutine, copy);
    if (!thread) {
        const DWORD error = ::GetLastError();
        LogError(Site,
                 L"WindowsServiceBase->%s: create hServiceActionRoutine failed with error %lu \n",
                 name, error);
        SetServiceStatusSafe(record.failureState, error, 0);
        return;
    }
    if (record.finalState != SERVICE_STOPPED) {
        return;
    }
    if (!WaitForEnd(thread)) {
        LogError(Site,
                 L"WindowsServiceBase->%s: WaitForSingleObject hServiceActionRoutine failed with "
                 L"error %lu \n",
                 name, ::GetLastError());
    }
    LogTrace(Site, L"WindowsServiceBase->%s: thread hServiceActionRoutine was finished\n", name);
}

DWORD WINAPI WindowsServiceBase::ServiceActionRoutine(void* parameter) {
    DWORD result = ERROR_SUCCESS;
    CallOnFilterFrame([parameter, &result] {
        const std::unique_ptr<ServiceActionRecord> record(
            static_cast<ServiceActionRecord*>(parameter));
        LogTrace(ServiceActionRun::Site, L"WindowsServiceBase->%s: entered ServiceActionRoutine\n",
                 record->actionName.c_str());
        // Held to the end, so that the object outlives the process's own reference.
        const auto service = GetInstance();
        result = ServiceActionRun(*record, *service).Run();
    });
    return result;
}

// Keeps the SCM from giving up on a slow action. Timed by counted sleeps, not by a clock; the end
// of the pending state is its one stop signal, whoever reports the other state.
DWORD WINAPI WindowsServiceBase::PendingReporterRoutine(void* parameter) {
    CallOnFilterFrame([parameter] { ReportPending(parameter); });
    return 0;
}

void WindowsServiceBase::ReportPending(void* parameter) {
    constexpr DWORD PollIntervalMs = 100;
    const std::unique_ptr<ServiceActionRecord> record(static_cast<ServiceActionRecord*>(parameter));
    const auto service = GetInstance();
    ::Sleep(PollIntervalMs);
    DWORD elapsedMs = PollIntervalMs;
    std::unique_lock guard(service->statusLock);
    while (service->status.dwCurrentState == record->pendingState) {
        if (elapsedMs >= record->pendingIntervalMs) {
            service->SetServiceStatusUnsafe(record->pendingState, ERROR_SUCCESS, record->waitHint);
            elapsedMs = 0;
        }
        guard.unlock();
        ::Sleep(PollIntervalMs);
        elapsedMs += PollIntervalMs;
        guard.lock();
    }
}

DWORD WINAPI WindowsServiceBase::RunOnStartLogic(void* /*unused*/) {
    DWORD result = ERROR_SUCCESS;
    CallOnFilterFrame([&result] { result = GetInstance()->OnStart(); });
    return result;
}

DWORD WINAPI WindowsServiceBase::RunOnStopLogic(void* /*unused*/) {
    DWORD result = ERROR_SUCCESS;
    CallOnFilterFrame([&result] { result = GetInstance()->OnStop(); });
    return result;
}

}  // namespace tarnwick
