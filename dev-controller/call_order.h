#ifndef DEV_CONTROLLER_CALL_ORDER_H
#define DEV_CONTROLLER_CALL_ORDER_H

namespace dev_controller {

enum class ControllerCall { Load, Activate, Notify, Deactivate };

/// The order in which a host may call a controller. Pure: it knows what was called, not what the
/// controller did.
///
/// A stop may overtake a start (a shutdown does not wait for it), so a notification is in order
/// from the loading on, and an activation after it is refused. After a failed activation the host
/// deactivates at once, and once more when the service stops.
class CallOrder {
  public:
    /// Null if the call is in order now, else why it is not. Changes nothing.
    [[nodiscard]] const wchar_t* Objection(ControllerCall call) const;

    /// The call was in order and the controller did it.
    void Done(ControllerCall call);

    [[nodiscard]] bool IsActive() const { return state_ == State::Active; }
    /// Why a free call is worth a warning now, or null. A free call is never refused.
    [[nodiscard]] const wchar_t* FreeRemark() const;

  private:
    enum class State { Created, Loaded, Active, Notified, Deactivated };

    State state_ = State::Created;
    bool notified_ = false;
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_CALL_ORDER_H
