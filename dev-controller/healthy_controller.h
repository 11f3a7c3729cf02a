#ifndef DEV_CONTROLLER_HEALTHY_CONTROLLER_H
#define DEV_CONTROLLER_HEALTHY_CONTROLLER_H

#include <cstdint>
#include <memory>
#include <optional>

#include "dev-controller/call_order.h"
#include "dev-controller/components.h"
#include "dev-controller/handle.h"
#include "dev-controller/host_link.h"

namespace dev_controller {

/// The codes for refused calls.
enum RefusalCode : std::int32_t {
    RefusedOrder = 0x51,
    RefusedObject = 0x52,
    RefusedSecondCreate = 0x53,
    RefusedParams = 0x54,
    BrokenScript = 0x5C,
};

/// The library's behaviour without a script: loads, runs two components, and ends them in order.
class HealthyController {
  public:
    HealthyController(HostLink& host, std::optional<Chatter> chatter, std::uint32_t firstResult,
                      std::uint32_t secondResult);
    HealthyController(const HealthyController&) = delete;
    HealthyController& operator=(const HealthyController&) = delete;

    [[nodiscard]] std::int32_t Create();
    [[nodiscard]] std::int32_t Load();
    [[nodiscard]] std::int32_t Activate();
    [[nodiscard]] std::int32_t Notify();
    [[nodiscard]] std::int32_t Deactivate();
    [[nodiscard]] std::int32_t Free();
    [[nodiscard]] std::int32_t Bootstrap();

  private:
    /// Checks and records a call in one step, so that two threads can't both pass. Returns the code
    /// of a refusal, or 0 after recording the call.
    std::int32_t Enter(ControllerCall call, const wchar_t* name);
    void ShowLevels();
    void AskForStopPermission();
    std::int32_t StopComponents();

    HostLink& host_;
    const std::uint32_t firstResult_;
    const std::uint32_t secondResult_;
    SRWLOCK orderLock_ = SRWLOCK_INIT;
    CallOrder order_;  ///< guarded by `orderLock_`
    Components components_;
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_HEALTHY_CONTROLLER_H
