#ifndef DEV_CONTROLLER_HANDLE_H
#define DEV_CONTROLLER_HANDLE_H

#include <utility>

#include "dev-controller/platform.h"

namespace dev_controller {

/// Owns an event, mutex, thread or file handle. Null and INVALID_HANDLE_VALUE both mean empty.
class Handle {
  public:
    Handle() = default;
    explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() {
        if (handle_ != nullptr) {
            const DWORD lastError = GetLastError();
            CloseHandle(handle_);
            SetLastError(lastError);
        }
    }

    [[nodiscard]] HANDLE Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

  private:
    HANDLE handle_ = nullptr;
};

/// Holds a slim lock exclusively for its lifetime.
class ExclusiveLock {
  public:
    explicit ExclusiveLock(SRWLOCK& lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
    ~ExclusiveLock() { ReleaseSRWLockExclusive(&lock_); }
    ExclusiveLock(const ExclusiveLock&) = delete;
    ExclusiveLock& operator=(const ExclusiveLock&) = delete;

  private:
    SRWLOCK& lock_;
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_HANDLE_H
