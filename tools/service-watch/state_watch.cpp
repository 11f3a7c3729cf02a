#include "tools/service-watch/state_watch.h"

#include <optional>
#include <utility>

#include "framework/system/console.h"
#include "tools/service-watch/state_text.h"
#include "tools/shared/service_manager.h"

namespace service_watch {

namespace {

// In milliseconds.
constexpr DWORD AskPause = 50;
constexpr DWORD NotificationLimit = 200;  // for one that is on its way

/// The system writes to it until the notification arrives, even after the handle is closed. So it
/// must live as long as the process.
SERVICE_NOTIFYW notification{};

DWORD NotifyBit(DWORD state) noexcept {
    return state == 0 ? 0 : 1U << (state - 1);
}

constexpr DWORD NotifyAllStates = SERVICE_NOTIFY_STOPPED | SERVICE_NOTIFY_START_PENDING |
                                  SERVICE_NOTIFY_STOP_PENDING | SERVICE_NOTIFY_RUNNING |
                                  SERVICE_NOTIFY_CONTINUE_PENDING | SERVICE_NOTIFY_PAUSE_PENDING |
                                  SERVICE_NOTIFY_PAUSED;

}  // namespace

StateWatch::StateWatch(const std::wstring& serviceName, ChangeSink sink)
    : manager_(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)),
      service_(::OpenServiceW(manager_.Get(), serviceName.c_str(), SERVICE_QUERY_STATUS)),
      sink_(std::move(sink)),
      stopped_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      end_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    const framework::KernelHandle ready(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    thread_ = std::thread([this, &ready] {
        RequestNotification();
        ::SetEvent(ready.Get());
        Watch();
    });
    // The subscription must exist before the caller starts the service.
    ::WaitForSingleObject(ready.Get(), INFINITE);
}

StateWatch::~StateWatch() {
    ::SetEvent(end_.Get());
    thread_.join();
}

HANDLE StateWatch::Process() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return process_.Get();
}

SERVICE_STATUS_PROCESS StateWatch::Last() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return last_;
}

std::string StateWatch::StatesSeen() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return statesSeen_.empty() ? "none" : statesSeen_;
}

void StateWatch::Watch() {
    DWORD woken = WAIT_TIMEOUT;
    while (woken != WAIT_OBJECT_0) {
        RequestNotification();
        Ask();
        woken = ::WaitForSingleObjectEx(end_.Get(), AskPause, TRUE);
    }
}

DWORD StateWatch::LastState() const noexcept {
    return started_ ? last_.dwCurrentState : DWORD{SERVICE_STOPPED};
}

/// Subscribes to the next state change. If the subscription is refused, polling alone is used.
void StateWatch::RequestNotification() {
    if (requested_) {
        return;
    }
    notification = {};
    notification.dwVersion = SERVICE_NOTIFY_STATUS_CHANGE;
    notification.pfnNotifyCallback = OnNotified;
    notification.pContext = this;
    requested_ =
        ::NotifyServiceStatusChangeW(service_.Get(), NotifyAllStates & ~NotifyBit(LastState()),
                                     &notification) == ERROR_SUCCESS;
}

/// Runs on the watch thread, during its wait.
void CALLBACK StateWatch::OnNotified(void* record) {
    const auto* told = static_cast<const SERVICE_NOTIFYW*>(record);
    auto* self = static_cast<StateWatch*>(told->pContext);
    self->requested_ = false;
    const bool isNew = told->ServiceStatus.dwCurrentState != self->LastState();
    if (told->dwNotificationStatus == ERROR_SUCCESS && isNew) {
        self->Take(told->ServiceStatus);
    }
}

void StateWatch::Ask() {
    auto status = tools::QueryStatus(service_);
    if (status && requested_ && status->dwCurrentState != LastState()) {
        // The notification of this change is on its way. Wait for it first, then query again,
        // because the status may have changed.
        ::WaitForSingleObjectEx(end_.Get(), NotificationLimit, TRUE);
        status = tools::QueryStatus(service_);
    }
    if (status) {
        Take(*status);
    }
}

void StateWatch::Take(const SERVICE_STATUS_PROCESS& status) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        // SERVICE_STOPPED before the first start is not the end of a run.
        started_ = started_ || status.dwCurrentState != SERVICE_STOPPED;
        if (!started_) {
            return;
        }
        if (!process_ && status.dwProcessId != 0) {
            process_.Reset(
                ::OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_TERMINATE, FALSE,
                              status.dwProcessId));
        }
        if (SameReport(status, last_)) {
            return;
        }
        if (status.dwCurrentState != last_.dwCurrentState) {
            statesSeen_ += (statesSeen_.empty() ? "" : " -> ") +
                           framework::ToUtf8(tools::StateName(status.dwCurrentState));
        }
        last_ = status;
    }
    sink_(status, Clock::now() - begin_);
    if (status.dwCurrentState == SERVICE_STOPPED) {
        ::SetEvent(stopped_.Get());
    }
}

}  // namespace service_watch
