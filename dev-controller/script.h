#ifndef DEV_CONTROLLER_SCRIPT_H
#define DEV_CONTROLLER_SCRIPT_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "dev-controller/crash.h"

namespace dev_controller {

/// What a script says, free of any platform call. README.md in this folder tells the grammar.

inline constexpr std::uint32_t NoLimit = 0xFFFFFFFF;

struct Action;
using Actions = std::vector<Action>;

struct ReturnCode {
    std::int32_t code = 0;
};
struct Delay {
    std::uint32_t milliseconds = 0;
};
struct WaitForNamedEvent {
    std::wstring name;
    std::uint32_t limit = NoLimit;  ///< milliseconds
};
struct SetNamedEvent {
    std::wstring name;
};
/// A text that is absent is handed over as a null pointer.
struct LogLine {
    std::uint32_t level = 0;
    std::optional<std::wstring> component;
    std::optional<std::wstring> text;
};
struct EnableStop {};
struct Interrupt {};
struct FlushLog {};
struct RegisterInterfaces {};
/// The pre-exception callback runs `body`; an empty one is handed over as a null pointer.
struct SetCallback {
    Actions body;
};
struct RemoveCallback {};
struct CrashNow {
    CrashRequest request;
    std::wstring kindName;
};
/// Runs `body` on `count` threads that are released together; nobody waits for them but free.
struct StartThreads {
    std::uint32_t count = 1;
    bool joined = true;  ///< false: free does not wait for them
    Actions body;
};
struct Repeat {
    std::uint32_t count = 1;
    Actions body;
};
struct CallRoutine {
    std::wstring name;
};
struct ExitWithCode {
    std::uint32_t code = 0;
    bool byRunTime = false;  ///< by the C run-time library's `exit`, not by `ExitProcess`
};
/// The create call stores a null controller although it succeeds.
struct NullController {};
struct InitializeCom {
    bool multithreaded = true;
};

struct Action {
    std::variant<ReturnCode, Delay, WaitForNamedEvent, SetNamedEvent, LogLine, EnableStop,
                 Interrupt, FlushLog, RegisterInterfaces, SetCallback, RemoveCallback, CrashNow,
                 StartThreads, Repeat, CallRoutine, ExitWithCode, NullController, InitializeCom>
        what;
};

/// The calls that a script can act on.
enum class Point { Attach, Create, Load, Activate, Notify, Deactivate, Free, Bootstrap };
inline constexpr int PointCount = 8;

/// Which calls a rule is meant for, counted from 1, both ends included.
struct CallRange {
    std::uint32_t first = 1;
    std::uint32_t last = NoLimit;

    [[nodiscard]] bool Holds(std::uint32_t call) const { return call >= first && call <= last; }
};

struct PointLine {
    Point point = Point::Attach;
    CallRange calls;
    Action action;
};

struct FailImport {
    std::uint32_t error = 0;
    std::optional<std::uint64_t> result;  ///< absent: what the function gives back on failure
    std::wstring text;  ///< not empty: only calls whose first argument holds this text
};
struct TraceImport {};
struct RecordStatus {};
struct BeforeImport {
    Actions body;
};

/// What happens when the executable calls one of its imports.
struct ImportRule {
    std::string function;
    CallRange calls;
    std::variant<FailImport, TraceImport, RecordStatus, BeforeImport> what;
};

/// The load that a chatty run puts on the log while the controller is active.
struct Chatter {
    std::uint32_t threads = 1;
    std::uint32_t rate = 10;    ///< lines per second and thread; 0: without a pause
    std::uint32_t length = 80;  ///< characters per line
    std::uint32_t lines = 0;    ///< per thread; 0: until the stop
};

struct Script {
    std::wstring transcript;  ///< empty: none
    bool healthy = false;     ///< true: the library's own behaviour runs beside the script
    std::optional<Chatter> chatter;
    std::uint32_t firstRegistrarResult = 0;
    std::uint32_t secondRegistrarResult = 0;
    std::vector<PointLine> lines;
    std::vector<ImportRule> importRules;
    std::map<std::wstring, Actions> routines;
};

struct ScriptError {
    std::uint32_t line = 0;  ///< from 1; 0: the script as a whole
    std::wstring message;
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_SCRIPT_H
