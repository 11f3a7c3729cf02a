#ifndef DEV_CONTROLLER_COMPONENTS_H
#define DEV_CONTROLLER_COMPONENTS_H

#include <optional>

#include "dev-controller/host_link.h"
#include "dev-controller/script.h"
#include "dev-controller/thread_group.h"

namespace dev_controller {

/// The components of the healthy library, each on its own thread: a heartbeat, a worker and, on
/// request, threads that fill the log.
class Components {
  public:
    Components(HostLink& host, std::optional<Chatter> chatter);
    Components(const Components&) = delete;
    Components& operator=(const Components&) = delete;

    /// Returns 0, or the error of a thread that could not be started; the others run anyway.
    [[nodiscard]] DWORD Start();

    /// Stops the components and waits for their threads. Returns false if one is still running
    /// after ten seconds. Calling it again does nothing.
    bool Stop();

  private:
    /// True as soon as the stop has begun, else false after `milliseconds`.
    [[nodiscard]] bool StoppedWithin(DWORD milliseconds) const;
    void Heartbeat();
    void Worker();
    void Chat(std::uint32_t number);

    HostLink& host_;
    const std::optional<Chatter> chatter_;
    Handle stop_;
    ThreadGroup threads_;
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_COMPONENTS_H
