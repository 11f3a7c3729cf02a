#include "tests/tarnwick-service/thread_watch.h"

#include <gtest/gtest.h>

#include <mutex>
#include <optional>

namespace test {
namespace {

constexpr DWORD JoinLimitMs = 30000;

/// The error chosen for a thread, which can be 0.
std::optional<DWORD> ErrorFor(const std::map<std::size_t, DWORD>& errors, std::size_t thread) {
    const auto found = errors.find(thread);
    return found == errors.end() ? std::nullopt : std::optional(found->second);
}

HANDLE Duplicate(HANDLE handle) {
    HANDLE copy = nullptr;
    ::DuplicateHandle(::GetCurrentProcess(), handle, ::GetCurrentProcess(), &copy, 0, FALSE,
                      DUPLICATE_SAME_ACCESS);
    return copy;
}

}  // namespace

ThreadWatch::ThreadWatch()
    : createHook_([this](LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                         LPTHREAD_START_ROUTINE routine, void* parameter, DWORD flags,
                         DWORD* threadId) {
          return Create(security, stackSize, routine, parameter, flags, threadId);
      }),
      waitHook_([this](HANDLE handle, DWORD limitMs) { return Wait(handle, limitMs); }),
      exitCodeHook_([this](HANDLE handle, DWORD* code) { return ReadExitCode(handle, code); }),
      closeHook_([this](HANDLE handle) { return Close(handle); }) {}

ThreadWatch::~ThreadWatch() {
    JoinAll();
}

HANDLE ThreadWatch::Create(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                           LPTHREAD_START_ROUTINE routine, void* parameter, DWORD flags,
                           DWORD* threadId) {
    // The test framework's own threads are created suspended; the product's are not.
    if (flags == CREATE_SUSPENDED) {
        return CreateThreadHook::Real(security, stackSize, routine, parameter, flags, threadId);
    }
    // Held during the creation, so that the new thread's own creations and waits come after it.
    const std::lock_guard guard(lock_);
    const std::size_t number = creations_.size();
    const bool isPlain = security == nullptr && stackSize == 0 && flags == 0 && threadId == nullptr;
    creations_.push_back({isPlain, routine, parameter});
    if (const auto error = ErrorFor(creationErrors_, number)) {
        ::SetLastError(*error);
        return nullptr;
    }
    const HANDLE thread =
        CreateThreadHook::Real(security, stackSize, routine, parameter, flags, threadId);
    open_[thread] = number;
    ours_[number].Reset(Duplicate(thread));
    return thread;
}

DWORD ThreadWatch::Wait(HANDLE handle, DWORD limitMs) {
    const std::size_t number = NumberOf(handle);
    if (number == None) {
        return WaitForSingleObjectHook::Real(handle, limitMs);
    }
    EXPECT_EQ(limitMs, INFINITE) << "a wait for thread " << number;
    {
        const std::lock_guard guard(lock_);
        waits_.push_back(number);
    }
    std::optional<DWORD> error = ErrorFor(waitErrorsAtOnce_, number);
    if (!error) {
        if (WaitForSingleObjectHook::Real(handle, JoinLimitMs) != WAIT_OBJECT_0) {
            ADD_FAILURE() << "thread " << number << " doesn't end";
        }
        error = ErrorFor(waitErrors_, number);
    }
    ::SetLastError(error.value_or(ERROR_SUCCESS));
    return error ? WAIT_FAILED : WAIT_OBJECT_0;
}

BOOL ThreadWatch::ReadExitCode(HANDLE handle, DWORD* exitCode) {
    if (const auto error = ErrorFor(exitCodeErrors_, NumberOf(handle))) {
        ::SetLastError(*error);
        return FALSE;
    }
    return GetExitCodeThreadHook::Real(handle, exitCode);
}

BOOL ThreadWatch::Close(HANDLE handle) {
    {
        const std::lock_guard guard(lock_);
        const auto found = open_.find(handle);
        if (found != open_.end()) {
            closed_.push_back(found->second);
            open_.erase(found);
        }
    }
    return CloseHandleHook::Real(handle);
}

std::size_t ThreadWatch::NumberOf(HANDLE handle) const {
    const std::lock_guard guard(lock_);
    const auto found = open_.find(handle);
    return found == open_.end() ? None : found->second;
}

std::vector<ThreadWatch::Creation> ThreadWatch::Creations() const {
    const std::lock_guard guard(lock_);
    return creations_;
}

std::vector<std::size_t> ThreadWatch::Closed() const {
    const std::lock_guard guard(lock_);
    return closed_;
}

std::vector<std::size_t> ThreadWatch::Waits() const {
    const std::lock_guard guard(lock_);
    return waits_;
}

void ThreadWatch::Join(std::size_t thread) {
    if (WaitForSingleObjectHook::Real(OwnHandle(thread), JoinLimitMs) != WAIT_OBJECT_0) {
        ADD_FAILURE() << "thread " << thread << " doesn't end";
    }
}

void ThreadWatch::JoinAll() {
    // A thread that is being waited for may create others.
    for (std::size_t number = 0; number < Creations().size(); ++number) {
        if (!ErrorFor(creationErrors_, number)) {
            Join(number);
        }
    }
}

HANDLE ThreadWatch::OwnHandle(std::size_t thread) const {
    const std::lock_guard guard(lock_);
    return ours_.at(thread).Get();
}

DWORD ThreadWatch::ExitCode(std::size_t thread) const {
    DWORD exitCode = 0;
    GetExitCodeThreadHook::Real(OwnHandle(thread), &exitCode);
    return exitCode;
}

DWORD ThreadWatch::ThreadId(std::size_t thread) const {
    return ::GetThreadId(OwnHandle(thread));
}

}  // namespace test
