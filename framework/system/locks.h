/// The platform's locks as types that the standard guards take.
#ifndef FRAMEWORK_SYSTEM_LOCKS_H
#define FRAMEWORK_SYSTEM_LOCKS_H

#include "framework/system/platform.h"

namespace framework {

/// A recursive lock: its owner thread can enter again. Enter it by `std::lock_guard`.
class CriticalSection {
  public:
    CriticalSection() noexcept { ::InitializeCriticalSection(&section_); }
    ~CriticalSection() { ::DeleteCriticalSection(&section_); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void lock() noexcept { ::EnterCriticalSection(&section_); }
    void unlock() noexcept { ::LeaveCriticalSection(&section_); }

  private:
    CRITICAL_SECTION section_;
};

/// A reader-writer lock that no thread can take twice. Enter it exclusively by `std::unique_lock`
/// or `std::lock_guard`, shared by `std::shared_lock`.
class SrwLock {
  public:
    SrwLock() noexcept = default;
    SrwLock(const SrwLock&) = delete;
    SrwLock& operator=(const SrwLock&) = delete;

    void lock() noexcept { ::AcquireSRWLockExclusive(&lock_); }
    void unlock() noexcept { ::ReleaseSRWLockExclusive(&lock_); }
    void lock_shared() noexcept { ::AcquireSRWLockShared(&lock_); }
    void unlock_shared() noexcept { ::ReleaseSRWLockShared(&lock_); }

  private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_LOCKS_H
