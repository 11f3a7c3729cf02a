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

/// Watches a service on its own thread. Subscribes to state changes and polls the rest of the
/// status every 50 ms. A state that is reported neither way is missing from the list.
class StateWatch {
  public:
    using Clock = std::chrono::steady_clock;
    /// Called on the watch thread.
    using ChangeSink =
        std::function<void(const SERVICE_STATUS_PROCESS& status, Clock::duration sinceBegin)>;

    /// Opens its own service handle: Wine serialises calls on one handle, so a stop would block all
    /// queries.
    StateWatch(const std::wstring& serviceName, ChangeSink sink);
    ~StateWatch();
    StateWatch(const StateWatch&) = delete;
    StateWatch& operator=(const StateWatch&) = delete;

    /// Set when the service becomes SERVICE_STOPPED after another state.
    [[nodiscard]] HANDLE StoppedEvent() const noexcept { return stopped_.Get(); }

    /// The service's process; null if none was observed. Opened as soon as its id is known, so that
    /// its exit code can be read after it has ended.
    [[nodiscard]] HANDLE Process() const;

    [[nodiscard]] SERVICE_STATUS_PROCESS Last() const;

    /// The observed states in order: "START_PENDING -> RUNNING".
    [[nodiscard]] std::string StatesSeen() const;

  private:
    static void CALLBACK OnNotified(void* record);
    void Watch();
    [[nodiscard]] DWORD LastState() const noexcept;
    void RequestNotification();
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
    // Guarded by `mutex_`; written only by the watch thread.
    bool started_ = false;
    SERVICE_STATUS_PROCESS last_{};
    framework::KernelHandle process_;
    std::string statesSeen_;

    std::thread thread_;  // last, so that it finds all the rest in place
};

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_STATE_WATCH_H
