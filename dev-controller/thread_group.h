#ifndef DEV_CONTROLLER_THREAD_GROUP_H
#define DEV_CONTROLLER_THREAD_GROUP_H

#include <functional>
#include <vector>

#include "dev-controller/handle.h"

namespace dev_controller {

/// Threads that are joined together. An exception from `work` reaches the process's exception
/// filter. (std::thread would call std::terminate instead.)
class ThreadGroup {
  public:
    /// Returns 0 or the error. A thread that is not `joined` is detached.
    [[nodiscard]] DWORD Start(std::function<void()> work, bool joined = true);

    /// Waits for all threads except the calling one, at most `limit` milliseconds in total. Returns
    /// false if one is still running; a later call waits for it again.
    bool Join(DWORD limit);

  private:
    struct Member {
        Handle thread;
        DWORD id = 0;
    };

    SRWLOCK lock_ = SRWLOCK_INIT;
    std::vector<Member> members_;  ///< guarded by `lock_`
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_THREAD_GROUP_H
