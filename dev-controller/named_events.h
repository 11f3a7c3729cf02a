#ifndef DEV_CONTROLLER_NAMED_EVENTS_H
#define DEV_CONTROLLER_NAMED_EVENTS_H

#include <map>
#include <string>

#include "dev-controller/handle.h"

namespace dev_controller {

/// Events that the outside can set and wait for by name. An event that does not exist yet is made,
/// not signalled and with manual reset, and kept until the process ends, so that a set event is
/// still set for whoever opens it later.
class NamedEvents {
  public:
    /// Null if the platform refuses the name; the last error says why.
    [[nodiscard]] HANDLE Get(const std::wstring& name);

  private:
    SRWLOCK lock_ = SRWLOCK_INIT;
    std::map<std::wstring, Handle> events_;  ///< guarded by `lock_`
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_NAMED_EVENTS_H
