/// Owning types, one per kind of handle. Closing preserves the thread's last error.
#ifndef FRAMEWORK_SYSTEM_UNIQUE_HANDLE_H
#define FRAMEWORK_SYSTEM_UNIQUE_HANDLE_H

#include <utility>

#include "framework/system/platform.h"

namespace framework {

/// Owns one handle. `Traits` has `Type`, `Invalid()` (the value that a failed open returns) and
/// `Close(handle)`. Movable, not copyable. Not thread-safe.
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

    /// Releases ownership; the caller closes the handle.
    [[nodiscard]] Type Release() noexcept { return std::exchange(handle_, Traits::Invalid()); }

    /// Closes the current handle, if any, and takes ownership of `handle`.
    void Reset(Type handle = Traits::Invalid()) noexcept {
        const Type old = std::exchange(handle_, handle);
        if (old != Traits::Invalid()) {
            const DWORD lastError = ::GetLastError();
            Traits::Close(old);
            ::SetLastError(lastError);
        }
    }

    /// Closes the current handle and returns its address, for calls that return a handle by
    /// pointer.
    [[nodiscard]] Type* Receive() noexcept {
        Reset();
        return &handle_;
    }

  private:
    Type handle_ = Traits::Invalid();
};

/// Events, threads, processes and tokens, whose creating calls return null on failure.
struct KernelHandleTraits {
    using Type = HANDLE;
    static Type Invalid() noexcept { return nullptr; }
    static void Close(Type handle) noexcept;
};
using KernelHandle = UniqueHandle<KernelHandleTraits>;

/// Handles of `CreateFileW`, which returns `INVALID_HANDLE_VALUE` on failure.
struct FileHandleTraits {
    using Type = HANDLE;
    static Type Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Type handle) noexcept;
};
using FileHandle = UniqueHandle<FileHandleTraits>;

/// Open registry keys.
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
