#ifndef TOOLS_SERVICE_WATCH_STATE_WATCH_H
#define TOOLS_SERVICE_WATCH_STATE_WATCH_H

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "framework/system/unique_handle.h"
#include "tools/service-watch/managed_service.h"

namespace service_watch {

/// Has the Service Control Manager tell each change of the service's state, and asks it every 50 ms
/// for the rest of the status, on a thread of its own. A change that came and went without being
/// told is not seen: the list of states holds what the manager really said.
class StateWatch {
  public:
    using Clock = std::chrono::steady_clock;
    /// Called on the watching thread.
    using ChangeSink =
        std::function<void(const SERVICE_STATUS_PROCESS& status, Clock::duration sinceBegin)>;

    /// Opens the service by a handle of its own: Wine lets no two calls run at once on the same
    /// one, so that nothing could be asked for as long as a stop lasts.
    StateWatch(const std::wstring& serviceName, ChangeSink sink);
    ~StateWatch();
    StateWatch(const StateWatch&) = delete;
    StateWatch& operator=(const StateWatch&) = delete;

    /// Set once the service, seen in another state before, is SERVICE_STOPPED.
    [[nodiscard]] HANDLE StoppedEvent() const noexcept { return stopped_.Get(); }

    /// The process that the service was seen to run in; null if none was seen. Opened as soon as
    /// its id is known, so that the exit code can still be read when the process is gone.
    [[nodiscard]] HANDLE Process() const;

    [[nodiscard]] SERVICE_STATUS_PROCESS Last() const;

    /// "START_PENDING -> RUNNING" and so on: the states seen, in order.
    [[nodiscard]] std::string StatesSeen() const;

  private:
    static void CALLBACK OnNotified(void* record);
    void Watch();
    [[nodiscard]] DWORD LastState() const noexcept;
    void RequestNotification();
    [[nodiscard]] std::optional<SERVICE_STATUS_PROCESS> Query() const;
    void Ask();
    void Take(const SERVICE_STATUS_PROCESS& status);

    const ServiceHandle manager_;
    const ServiceHandle service_;
    const ChangeSink sink_;
    const Clock::time_point begin_ = Clock::now();
    const framework::KernelHandle stopped_;
    const framework::KernelHandle end_;
    bool requested_ = false;  // of the watching thread alone: a notification is to come

    mutable std::mutex mutex_;
    // Written by the watching thread under `mutex_`; other threads read under it too.
    bool started_ = false;
    SERVICE_STATUS_PROCESS last_{};
    framework::KernelHandle process_;
    std::string statesSeen_;

    std::thread thread_;  // last, so that it finds all the rest in place
};

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_STATE_WATCH_H
