#ifndef TOOLS_CONTROLLER_CHECK_EVENT_H
#define TOOLS_CONTROLLER_CHECK_EVENT_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace controller_check {

/// The host's calls to the library.
enum class Call : std::uint32_t {
    None,
    Attach,
    Create,
    LoadAddons,
    Activate,
    NotifyOnStop,
    Deactivate,
    Free,
    Bootstrap,
    ProcessEnd
};

inline constexpr std::array<const wchar_t*, 10> CallNames = {
    L"nothing",      L"loading the library", L"create", L"LoadAddons",     L"Activate",
    L"NotifyOnStop", L"Deactivate",          L"free",   L"OrrinBootstrap", L"the process's end"};

[[nodiscard]] constexpr const wchar_t* NameOf(Call call) {
    return CallNames[static_cast<std::size_t>(call)];
}

/// The library's calls to the host.
enum class HostFunction : std::uint32_t {
    Log,
    Flush,
    Interrupt,
    Register,
    EnableStop,
    SetCallback,
    RemoveCallback
};

inline constexpr std::array<const wchar_t*, 7> HostFunctionNames = {
    L"OrrinLoggingCallback",           L"LogFlush",
    L"OrrinInterruptCallback",         L"RegisterHostComponentEntry",
    L"OrrinEnableServiceStop",         L"OrrinSetPreExceptionCallback",
    L"OrrinRemovePreExceptionCallback"};

[[nodiscard]] constexpr const wchar_t* NameOf(HostFunction function) {
    return HostFunctionNames[static_cast<std::size_t>(function)];
}

enum class EventKind : std::uint32_t {
    Entered,          ///< `call` begins
    Returned,         ///< `call` has returned `code`
    LoadFailed,       ///< `code` is the Win32 error, `text` the missing dependency, if known
    BadRow,           ///< before `call` or, for `Create`, after it; `text` is the error
    HostCalled,       ///< the library entered `function`
    BadContext,       ///< `RegisterHostComponentEntry` got another context than the host's
    BadRegistrar,     ///< its registrar can't be called; `text` is the reason
    Refused,          ///< `RegisterInterface` returned `code` for the interface in `text`
    BadText,          ///< an invalid text in a log call; `text` is the error
    RecordChanged,    ///< found after `call`; `text` is the place
    BadCallback,      ///< a pre-exception callback that can't be called
    CallbackLeft,     ///< a pre-exception callback is still set after free
    FilterReplaced,   ///< found after `call`: the host's crash filter was replaced
    ApartmentLost,    ///< found after `call`: the main thread has left its COM apartment
    Crashed,          ///< `code` is the exception's, `text` its place
    TouchedReleased,  ///< a crash on the host's records after they were released
    Watched,          ///< the time after the last call is over
};

/// One event in the round's process. Plain data, because it is in shared memory.
struct Event {
    EventKind kind;
    Call call;
    HostFunction function;
    std::uint32_t thread;
    std::int64_t code;
    std::uint64_t tick;  ///< milliseconds since the system's start
    std::array<wchar_t, 128> text;
};

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_EVENT_H
