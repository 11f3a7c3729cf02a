/// Windows locks for use with `std::lock_guard` and its relatives.
#ifndef FRAMEWORK_SYSTEM_LOCKS_H
#define FRAMEWORK_SYSTEM_LOCKS_H

#include "framework/system/platform.h"

namespace framework {

/// A recursive lock: the owning thread may lock it again. Use `std::lock_guard`.
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

/// A reader-writer lock, not recursive. Use `std::unique_lock` or `std::lock_guard` for exclusive
/// access, `std::shared_lock` for shared access.
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
