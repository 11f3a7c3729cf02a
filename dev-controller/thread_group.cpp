#include "dev-controller/thread_group.h"

#include <memory>
#include <utility>

namespace dev_controller {
namespace {

using Work = std::function<void()>;

DWORD WINAPI RunWork(void* parameter) {
    const std::unique_ptr<Work> work(static_cast<Work*>(parameter));
    (*work)();
    return 0;
}

}  // namespace

DWORD ThreadGroup::Start(Work work, bool joined) {
    auto owned = std::make_unique<Work>(std::move(work));
    // With the lock held, a join can't miss a thread that is already running.
    const ExclusiveLock lock(lock_);
    DWORD id = 0;
    Handle thread(CreateThread(nullptr, 0, RunWork, owned.get(), 0, &id));
    if (!thread) {
        return GetLastError();
    }
    static_cast<void>(owned.release());
    if (joined) {
        members_.push_back({std::move(thread), id});
    }
    return 0;
}

bool ThreadGroup::Join(DWORD limit) {
    std::vector<Member> members;
    {
        const ExclusiveLock lock(lock_);
        members.swap(members_);
    }
    const ULONGLONG end = GetTickCount64() + limit;
    std::vector<Member> running;
    for (Member& member : members) {
        if (member.id == GetCurrentThreadId()) {
            continue;
        }
        const ULONGLONG now = GetTickCount64();
        const DWORD rest = now < end ? static_cast<DWORD>(end - now) : 0;
        if (WaitForSingleObject(member.thread.Get(), rest) != WAIT_OBJECT_0) {
            running.push_back(std::move(member));
        }
    }
    const ExclusiveLock lock(lock_);
    const bool all = running.empty();
    for (Member& member : running) {
        members_.push_back(std::move(member));
    }
    return all;
}

}  // namespace dev_controller
