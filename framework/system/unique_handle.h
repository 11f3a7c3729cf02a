/// One owning type per kind of handle. Closing keeps the thread's last error.
#ifndef FRAMEWORK_SYSTEM_UNIQUE_HANDLE_H
#define FRAMEWORK_SYSTEM_UNIQUE_HANDLE_H

#include <utility>

#include "framework/system/platform.h"

namespace framework {

/// Owns one handle of the kind that `Traits` describes: `Type`, `Invalid()` (what a failed open
/// gives) and `Close(handle)`. Moves; doesn't copy. Not safe to share between threads by itself.
template <class Traits>
class UniqueHandle {
  public:
    using Type = typename Traits::Type;

    UniqueHandle() noexcept = default;
    explicit UniqueHandle(Type handle) noexcept : handle_(handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : handle_(other.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    ~UniqueHandle() { Reset(); }

    [[nodiscard]] Type Get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != Traits::Invalid(); }

    /// Gives the handle away; the caller closes it.
    [[nodiscard]] Type Release() noexcept { return std::exchange(handle_, Traits::Invalid()); }

    /// Closes what is held, if anything, and holds `handle` from now on.
    void Reset(Type handle = Traits::Invalid()) noexcept {
        const Type old = std::exchange(handle_, handle);
        if (old != Traits::Invalid()) {
            const DWORD lastError = ::GetLastError();
            Traits::Close(old);
            ::SetLastError(lastError);
        }
    }

    /// For platform calls that write a handle. What was held is closed before.
    [[nodiscard]] Type* Receive() noexcept {
        Reset();
        return &handle_;
    }

  private:
    Type handle_ = Traits::Invalid();
};

/// Handles for which null stands for none: events, threads, processes and tokens, which are null
/// when the call that makes them fails, and others whose maker turns a failure into null.
struct KernelHandleTraits {
    using Type = HANDLE;
    static Type Invalid() noexcept { return nullptr; }
    static void Close(Type handle) noexcept;
};
using KernelHandle = UniqueHandle<KernelHandleTraits>;

/// Handles of `CreateFileW`, which fails with `INVALID_HANDLE_VALUE`.
struct FileHandleTraits {
    using Type = HANDLE;
    static Type Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Type handle) noexcept;
};
using FileHandle = UniqueHandle<FileHandleTraits>;

/// Open keys of the registry.
struct RegistryKeyTraits {
    using Type = HKEY;
    static Type Invalid() noexcept { return nullptr; }
    static void Close(Type key) noexcept;
};
using RegistryKey = UniqueHandle<RegistryKeyTraits>;

/// Sources of the system event log.
struct EventSourceTraits {
    using Type = HANDLE;
    static Type Invalid() noexcept { return nullptr; }
    static void Close(Type source) noexcept;
};
using EventSource = UniqueHandle<EventSourceTraits>;

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_UNIQUE_HANDLE_H
