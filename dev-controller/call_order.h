#ifndef DEV_CONTROLLER_CALL_ORDER_H
#define DEV_CONTROLLER_CALL_ORDER_H

namespace dev_controller {

enum class ControllerCall { Load, Activate, Notify, Deactivate };

/// The order in which a host may call a controller. Tracks the calls only, not what the controller
/// did.
///
/// A stop can overtake a start, because a shutdown doesn't wait for it. So NotifyOnStop is allowed
/// from LoadAddons on, and Activate is refused after it. After a failed Activate the host calls
/// Deactivate immediately, and again when the service stops.
class CallOrder {
  public:
    /// Returns null if the call is allowed now, else the reason.
    [[nodiscard]] const wchar_t* Objection(ControllerCall call) const;

    /// Records an allowed call that the controller has executed.
    void Done(ControllerCall call);

    [[nodiscard]] bool IsActive() const { return state_ == State::Active; }
    /// Returns the warning for a free call now, or null. A free call is never refused.
    [[nodiscard]] const wchar_t* FreeRemark() const;

  private:
    enum class State { Created, Loaded, Active, Notified, Deactivated };

    State state_ = State::Created;
    bool notified_ = false;
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_CALL_ORDER_H
