#include "dev-controller/named_events.h"

namespace dev_controller {

HANDLE NamedEvents::Get(const std::wstring& name) {
    const ExclusiveLock lock(lock_);
    Handle& event = events_[name];
    if (!event) {
        event = Handle(CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
    }
    return event.Get();
}

}  // namespace dev_controller
