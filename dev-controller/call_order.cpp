#include "dev-controller/call_order.h"

namespace dev_controller {

const wchar_t* CallOrder::Objection(ControllerCall call) const {
    switch (call) {
        case ControllerCall::Load:
            return state_ == State::Created ? nullptr : L"LoadAddons was called before";
        case ControllerCall::Activate:
            if (state_ == State::Loaded) {
                return nullptr;
            }
            return state_ == State::Created ? L"LoadAddons was not called yet"
                   : notified_              ? L"the service is stopping already"
                                            : L"Activate was called before";
        case ControllerCall::Notify:
            if (notified_) {
                return L"NotifyOnStop was called before";
            }
            return state_ == State::Created ? L"LoadAddons was not called yet" : nullptr;
        case ControllerCall::Deactivate:
            if (state_ == State::Loaded || state_ == State::Notified) {
                return nullptr;
            }
            return state_ == State::Created  ? L"LoadAddons was not called yet"
                   : state_ == State::Active ? L"NotifyOnStop was not called yet"
                                             : L"Deactivate was called before";
    }
    return nullptr;
}

void CallOrder::Done(ControllerCall call) {
    switch (call) {
        case ControllerCall::Load:
            state_ = State::Loaded;
            break;
        case ControllerCall::Activate:
            state_ = State::Active;
            break;
        case ControllerCall::Notify:
            state_ = State::Notified;
            notified_ = true;
            break;
        case ControllerCall::Deactivate:
            state_ = State::Deactivated;
            break;
    }
}

const wchar_t* CallOrder::FreeRemark() const {
    switch (state_) {
        case State::Active:
            return L"freed while active: the service ended without a stop";
        case State::Notified:
            return L"freed before Deactivate was called";
        case State::Created:
        case State::Loaded:
        case State::Deactivated:
            return nullptr;
    }
    return nullptr;
}

}  // namespace dev_controller
