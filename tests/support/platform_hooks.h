/// Replaces the platform's imported functions without a change in the product. An object calls an
/// imported function through the pointer `__imp_NAME`. If a program defines that pointer itself,
/// the linker prefers it to the import library.
///
///     test::ScopedHook<test::CreateThreadHook> hook(
///         [](auto...) -> HANDLE { ::SetLastError(8); return nullptr; });
///
/// A call that doesn't report its failure by the last error spoils the last error and `errno`,
/// replaced or not.
///
/// A replacement calls the real function as `test::CreateThreadHook::Real(...)`. Set hooks before
/// starting the threads that use them. Several threads may run a replacement at once.
#ifndef TESTS_SUPPORT_PLATFORM_HOOKS_H
#define TESTS_SUPPORT_PLATFORM_HOOKS_H

#include <atomic>
#include <functional>
#include <type_traits>
#include <utility>

#include "framework/system/platform.h"
#include "tests/support/spoiled_error.h"

// Need windows.h before them.
#include <dbghelp.h>
#include <objbase.h>
#include <shlwapi.h>

namespace test {

template <class Call, class Signature>
class PlatformHook;

template <class Call, class Result, class... Args>
class PlatformHook<Call, Result(Args...)> {
  public:
    using Function = std::function<Result(Args...)>;

    /// The target of `__imp_NAME`.
    static Result Enter(Args... args) {
        if constexpr (std::is_void_v<Result>) {
            Run(args...);
            SpoilErrors();
        } else {
            const Result result = Run(args...);
            if (!IsToldByLastError(Call::Name, result)) {
                SpoilErrors();
            }
            return result;
        }
    }

    static Result Real(Args... args) {
        // Not a local static of this function, because its lock can need a hooked call.
        Pointer function = real.load();
        if (function == nullptr) {
            function = reinterpret_cast<Pointer>(reinterpret_cast<void*>(
                ::GetProcAddress(::LoadLibraryA(Call::Module), Call::Name)));
            real.store(function);
        }
        return function(args...);
    }

    inline static Function replacement;

  private:
    static Result Run(Args... args) { return replacement ? replacement(args...) : Real(args...); }

    using Pointer = Result (*)(Args...);
    inline static constinit std::atomic<Pointer> real{nullptr};
};

/// Sets a replacement during its lifetime.
template <class Hook>
class ScopedHook {
  public:
    explicit ScopedHook(typename Hook::Function replacement)
        : before_(std::exchange(Hook::replacement, std::move(replacement))) {}
    ~ScopedHook() { Hook::replacement = std::move(before_); }
    ScopedHook(const ScopedHook&) = delete;
    ScopedHook& operator=(const ScopedHook&) = delete;

  private:
    typename Hook::Function before_;
};

}  // namespace test

/// Every platform call of the product whose result it checks.
#define TEST_PLATFORM_CALLS(CALL)                     \
    CALL("kernel32", AddVectoredExceptionHandler)     \
    CALL("kernel32", CloseHandle)                     \
    CALL("kernel32", CopyFileW)                       \
    CALL("kernel32", CreateDirectoryW)                \
    CALL("kernel32", CreateEventA)                    \
    CALL("kernel32", CreateFileW)                     \
    CALL("kernel32", CreateProcessW)                  \
    CALL("kernel32", CreateThread)                    \
    CALL("kernel32", DeleteFileW)                     \
    CALL("kernel32", DeviceIoControl)                 \
    CALL("kernel32", ExpandEnvironmentStringsW)       \
    CALL("kernel32", FindClose)                       \
    CALL("kernel32", FindFirstFileW)                  \
    CALL("kernel32", FindNextFileW)                   \
    CALL("kernel32", FlushFileBuffers)                \
    CALL("kernel32", GetConsoleMode)                  \
    CALL("kernel32", GetExitCodeThread)               \
    CALL("kernel32", GetModuleFileNameW)              \
    CALL("kernel32", GetSystemTime)                   \
    CALL("kernel32", OpenProcess)                     \
    CALL("kernel32", OpenThread)                      \
    CALL("kernel32", OutputDebugStringW)              \
    CALL("kernel32", ReadFile)                        \
    CALL("kernel32", RemoveVectoredExceptionHandler)  \
    CALL("kernel32", ResetEvent)                      \
    CALL("kernel32", ResumeThread)                    \
    CALL("kernel32", SetConsoleCtrlHandler)           \
    CALL("kernel32", SetEvent)                        \
    CALL("kernel32", SetUnhandledExceptionFilter)     \
    CALL("kernel32", Sleep)                           \
    CALL("kernel32", SystemTimeToFileTime)            \
    CALL("kernel32", SystemTimeToTzSpecificLocalTime) \
    CALL("kernel32", TerminateProcess)                \
    CALL("kernel32", WaitForMultipleObjects)          \
    CALL("kernel32", WaitForSingleObject)             \
    CALL("kernel32", WriteConsoleW)                   \
    CALL("kernel32", WriteFile)                       \
    CALL("advapi32", DeregisterEventSource)           \
    CALL("advapi32", OpenThreadToken)                 \
    CALL("advapi32", RegCloseKey)                     \
    CALL("advapi32", RegCreateKeyExW)                 \
    CALL("advapi32", RegDeleteValueW)                 \
    CALL("advapi32", RegNotifyChangeKeyValue)         \
    CALL("advapi32", RegOpenKeyExW)                   \
    CALL("advapi32", RegOpenKeyW)                     \
    CALL("advapi32", RegQueryValueExW)                \
    CALL("advapi32", RegSetValueExW)                  \
    CALL("advapi32", RegisterEventSourceW)            \
    CALL("advapi32", RegisterServiceCtrlHandlerW)     \
    CALL("advapi32", ReportEventW)                    \
    CALL("advapi32", SetServiceStatus)                \
    CALL("advapi32", StartServiceCtrlDispatcherW)     \
    CALL("dbghelp", MiniDumpWriteDump)                \
    CALL("ole32", CoInitializeEx)                     \
    CALL("ole32", CoUninitialize)                     \
    CALL("shlwapi", PathAppendW)                      \
    CALL("shlwapi", PathRemoveFileSpecW)

#define TEST_DECLARE_HOOK(module, name)                            \
    namespace test {                                               \
    struct name##Call {                                            \
        static constexpr const char* Module = module;              \
        static constexpr const char* Name = #name;                 \
    };                                                             \
    using name##Hook = PlatformHook<name##Call, decltype(::name)>; \
    }

TEST_PLATFORM_CALLS(TEST_DECLARE_HOOK)

#endif  // TESTS_SUPPORT_PLATFORM_HOOKS_H
