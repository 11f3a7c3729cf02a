#ifndef DEV_CONTROLLER_NAMED_EVENTS_H
#define DEV_CONTROLLER_NAMED_EVENTS_H

#include <map>
#include <string>

#include "dev-controller/handle.h"

namespace dev_controller {

/// Named events for synchronization with other processes. A missing event is created unsignaled,
/// with manual reset, and kept until the process ends, so that it stays set for later openers.
class NamedEvents {
  public:
    /// Null on failure; the last error has the reason.
    [[nodiscard]] HANDLE Get(const std::wstring& name);

  private:
    SRWLOCK lock_ = SRWLOCK_INIT;
    std::map<std::wstring, Handle> events_;  ///< guarded by `lock_`
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_NAMED_EVENTS_H
