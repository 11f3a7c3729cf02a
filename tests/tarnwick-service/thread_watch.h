#ifndef TESTS_TARNWICK_SERVICE_THREAD_WATCH_H
#define TESTS_TARNWICK_SERVICE_THREAD_WATCH_H

#include <cstddef>
#include <map>
#include <vector>

#include "framework/system/locks.h"
#include "framework/system/unique_handle.h"
#include "tests/support/platform_hooks.h"

namespace test {

/// Tracks the threads that the product creates, numbered from 0 in the order of their creation
/// (failed creations count), and can make calls about them fail. The destructor waits for their
/// end, so that no thread uses a replacement that is being removed.
class ThreadWatch {
  public:
    ThreadWatch();
    ~ThreadWatch();
    ThreadWatch(const ThreadWatch&) = delete;
    ThreadWatch& operator=(const ThreadWatch&) = delete;

    // Set before the first thread.
    void FailCreation(std::size_t thread, DWORD error) { creationErrors_[thread] = error; }
    /// The wait fails after the thread has really ended, so that the following calls have one
    /// order.
    void FailWait(std::size_t thread, DWORD error) { waitErrors_[thread] = error; }
    /// The wait fails while the thread is still running.
    void FailWaitAtOnce(std::size_t thread, DWORD error) { waitErrorsAtOnce_[thread] = error; }
    void FailExitCode(std::size_t thread, DWORD error) { exitCodeErrors_[thread] = error; }

    /// The arguments of a creation.
    struct Creation {
        bool isPlain;  ///< default security and stack size, no flags, no thread id wanted
        LPTHREAD_START_ROUTINE routine;
        void* parameter;
    };
    [[nodiscard]] std::vector<Creation> Creations() const;
    /// The threads whose handles were closed, in that order.
    [[nodiscard]] std::vector<std::size_t> Closed() const;
    /// The threads that were waited for, in that order. Fails the test on a wait with a limit.
    [[nodiscard]] std::vector<std::size_t> Waits() const;

    /// Waits for the end of one thread, which must have been created.
    void Join(std::size_t thread);
    void JoinAll();
    /// Exit code and id of a created thread.
    [[nodiscard]] DWORD ExitCode(std::size_t thread) const;
    [[nodiscard]] DWORD ThreadId(std::size_t thread) const;

  private:
    static constexpr std::size_t None = ~std::size_t{0};

    HANDLE Create(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize, LPTHREAD_START_ROUTINE routine,
                  void* parameter, DWORD flags, DWORD* threadId);
    DWORD Wait(HANDLE handle, DWORD limitMs);
    BOOL ReadExitCode(HANDLE handle, DWORD* exitCode);
    BOOL Close(HANDLE handle);
    /// The number of the thread of an open handle, or `None`.
    [[nodiscard]] std::size_t NumberOf(HANDLE handle) const;
    [[nodiscard]] HANDLE OwnHandle(std::size_t thread) const;

    std::map<std::size_t, DWORD> creationErrors_;
    std::map<std::size_t, DWORD> waitErrors_;
    std::map<std::size_t, DWORD> waitErrorsAtOnce_;
    std::map<std::size_t, DWORD> exitCodeErrors_;

    mutable framework::SrwLock lock_;
    // Guarded by lock_.
    std::vector<Creation> creations_;
    std::map<HANDLE, std::size_t> open_;
    std::map<std::size_t, framework::KernelHandle> ours_;  ///< handles of this object's own
    std::vector<std::size_t> closed_;
    std::vector<std::size_t> waits_;

    ScopedHook<CreateThreadHook> createHook_;
    ScopedHook<WaitForSingleObjectHook> waitHook_;
    ScopedHook<GetExitCodeThreadHook> exitCodeHook_;
    ScopedHook<CloseHandleHook> closeHook_;
};

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_THREAD_WATCH_H
