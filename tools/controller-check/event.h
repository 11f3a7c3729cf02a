#ifndef TOOLS_CONTROLLER_CHECK_EVENT_H
#define TOOLS_CONTROLLER_CHECK_EVENT_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace controller_check {

/// What the host does with the library and waits for.
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

/// What the library calls in the host.
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
    Entered,         ///< `call` begins
    Returned,        ///< `call` is over; `code` is what it gave
    LoadFailed,      ///< `code` is the Win32 error, `text` the dependency that is missing, if known
    BadRow,          ///< before `call` or, for `Create`, after it: `text` says what is wrong
    HostCalled,      ///< the library entered `function`
    BadContext,      ///< `RegisterHostComponentEntry` got another context than the host's
    BadRegistrar,    ///< its registrar can't be called; `text` says why
    Refused,         ///< `RegisterInterface` gave `code` for the interface in `text`
    BadText,         ///< a text of a log call; `text` says what is wrong
    RecordChanged,   ///< seen after `call`; `text` names the place
    BadCallback,     ///< a pre-exception callback that can't be called
    CallbackLeft,    ///< free has returned and a pre-exception callback is set
    FilterReplaced,  ///< seen after `call`: the host's crash filter isn't the process's any more
    ApartmentLost,   ///< seen after `call`: the main thread isn't in its COM apartment any more
    Crashed,         ///< `code` is the exception's, `text` its place
    TouchedReleased,  ///< a crash on the host's records after they were released
    Watched,          ///< the time after the last call is over
};

/// One thing that happened in the round's process. Plain bytes: it lies in shared memory.
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
