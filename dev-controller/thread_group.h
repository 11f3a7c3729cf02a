#ifndef DEV_CONTROLLER_THREAD_GROUP_H
#define DEV_CONTROLLER_THREAD_GROUP_H

#include <functional>
#include <vector>

#include "dev-controller/handle.h"

namespace dev_controller {

/// Threads that are joined together. An exception that leaves `work` ends the process through its
/// exception filter, as it would in a library that does not catch what it throws; std::thread would
/// call std::terminate instead.
class ThreadGroup {
  public:
    /// Returns 0 or the error. A thread that is not `joined` is forgotten once it runs.
    [[nodiscard]] DWORD Start(std::function<void()> work, bool joined = true);

    /// Waits for all threads but the calling one, at most `limit` milliseconds altogether. Returns
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
