#include "dev-controller/script_player.h"

#include <cstdlib>
#include <memory>
#include <utility>
#include <variant>

namespace dev_controller {
namespace {

constexpr DWORD ClosingSignalled = WAIT_OBJECT_0 + 1;

TranscriptLine ActionLine(const char* action) {
    return TranscriptLine("action", action);
}

/// The context of the pre-exception callback. Never freed, because the host may keep its address
/// and a crash can happen at any time.
struct CallbackContext {
    ScriptPlayer* player;
    Transcript* transcript;
    const Actions* body;
};

void RunCallback(void* context) {
    const auto& callback = *static_cast<CallbackContext*>(context);
    TranscriptLine enter("call", "pre-exception");
    callback.transcript->Write(enter.Word("phase", "enter").Pointer("context", context));
    callback.player->Play(*callback.body);
    TranscriptLine leave("call", "pre-exception");
    callback.transcript->Write(leave.Word("phase", "leave"));
}

const char* WaitName(DWORD result) {
    switch (result) {
        case WAIT_OBJECT_0:
            return "signalled";
        case ClosingSignalled:
            return "closing";
        case WAIT_TIMEOUT:
            return "timeout";
        default:
            return "failed";
    }
}

/// Loaded on demand, because the library itself doesn't use COM.
HRESULT InitializeComOnThread(bool multithreaded) {
    using Initialize = HRESULT(WINAPI*)(void* reserved, DWORD apartment);
    constexpr DWORD Multithreaded = 0;
    constexpr DWORD ApartmentThreaded = 2;
    const HMODULE ole32 = LoadLibraryW(L"ole32.dll");
    const FARPROC address = ole32 == nullptr ? nullptr : GetProcAddress(ole32, "CoInitializeEx");
    if (address == nullptr) {
        return E_NOTIMPL;
    }
    const auto initialize = reinterpret_cast<Initialize>(reinterpret_cast<std::uintptr_t>(address));
    return initialize(nullptr, multithreaded ? Multithreaded : ApartmentThreaded);
}

}  // namespace

/// One function per action.
struct ActionVisitor {
    ScriptPlayer& player;
    Outcome& outcome;

    void operator()(const ReturnCode& action) const { outcome.code = action.code; }

    void operator()(const Delay& action) const {
        outcome.closed = player.WaitOrClosing(nullptr, action.milliseconds) != WAIT_TIMEOUT;
    }

    void operator()(const WaitForNamedEvent& action) const {
        const HANDLE event = player.events_.Get(action.name);
        TranscriptLine begin = ActionLine("wait-event");
        player.transcript_.Write(begin.Word("phase", "begin").Quoted("name", action.name));
        const DWORD result =
            event == nullptr ? WAIT_FAILED : player.WaitOrClosing(event, action.limit);
        TranscriptLine end = ActionLine("wait-event");
        player.transcript_.Write(
            end.Word("phase", "end").Quoted("name", action.name).Word("result", WaitName(result)));
        outcome.closed = result == ClosingSignalled;
    }

    void operator()(const SetNamedEvent& action) const {
        const bool success = SetEvent(player.events_.Get(action.name)) != FALSE;
        TranscriptLine line = ActionLine("set-event");
        player.transcript_.Write(
            line.Quoted("name", action.name).Word("result", success ? "set" : "failed"));
    }

    void operator()(const LogLine& action) const {
        player.host_.Log(action.level, action.component ? action.component->c_str() : nullptr,
                         action.text ? action.text->c_str() : nullptr);
    }

    void operator()(const EnableStop&) const { static_cast<void>(player.host_.EnableStop()); }
    void operator()(const Interrupt&) const { player.host_.Interrupt(); }
    void operator()(const FlushLog&) const { player.host_.FlushLog(); }

    void operator()(const RegisterInterfaces&) const {
        static_cast<void>(player.host_.RegisterInterfaces(player.script_.firstRegistrarResult,
                                                          player.script_.secondRegistrarResult));
    }

    void operator()(const SetCallback& action) const {
        if (action.body.empty()) {
            static_cast<void>(player.host_.SetCallback(nullptr, nullptr));
            return;
        }
        auto* context = new CallbackContext{&player, &player.transcript_, &action.body};
        static_cast<void>(player.host_.SetCallback(&RunCallback, context));
    }

    void operator()(const RemoveCallback&) const {
        static_cast<void>(player.host_.RemoveCallback());
    }

    void operator()(const CrashNow& action) const {
        TranscriptLine line = ActionLine("crash");
        player.transcript_.Write(line.Word("phase", "begin").Quoted("kind", action.kindName));
        Crash(action.request);
        TranscriptLine end = ActionLine("crash");
        player.transcript_.Write(end.Word("phase", "survived").Quoted("kind", action.kindName));
    }

    void operator()(const StartThreads& action) const { player.StartThreadsFor(action); }

    void operator()(const Repeat& action) const {
        for (std::uint32_t i = 0; i < action.count && !outcome.Ended(); ++i) {
            outcome.closed = player.Play(action.body).closed;
        }
    }

    void operator()(const CallRoutine& action) const {
        outcome.closed = player.Play(player.script_.routines.at(action.name)).closed;
    }

    void operator()(const ExitWithCode& action) const {
        TranscriptLine line = ActionLine("exit");
        player.transcript_.Write(line.Hex("code", action.code));
        if (action.byRunTime) {
            std::exit(static_cast<int>(action.code));
        }
        ExitProcess(action.code);
    }

    void operator()(const NullController&) const { outcome.nullController = true; }

    void operator()(const InitializeCom& action) const {
        const HRESULT result = InitializeComOnThread(action.multithreaded);
        TranscriptLine line = ActionLine("com-init");
        player.transcript_.Write(line.Hex("result", static_cast<std::uint32_t>(result)));
    }
};

ScriptPlayer::ScriptPlayer(const Script& script, HostLink& host, Transcript& transcript)
    : script_(script),
      host_(host),
      transcript_(transcript),
      closing_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

Outcome ScriptPlayer::PlayPoint(Point point) {
    const std::uint32_t call = ++calls_[static_cast<std::size_t>(point)];
    Outcome outcome;
    for (const PointLine& line : script_.lines) {
        if (line.point == point && line.calls.Holds(call) && !outcome.Ended()) {
            PlayInto(line.action, outcome);
        }
    }
    return outcome;
}

Outcome ScriptPlayer::Play(const Actions& actions) {
    Outcome outcome;
    for (const Action& action : actions) {
        if (!outcome.Ended()) {
            PlayInto(action, outcome);
        }
    }
    return outcome;
}

void ScriptPlayer::PlayInto(const Action& action, Outcome& outcome) {
    std::visit(ActionVisitor{*this, outcome}, action.what);
}

DWORD ScriptPlayer::WaitOrClosing(HANDLE event, DWORD limit) {
    if (event == nullptr) {
        const DWORD result = WaitForSingleObject(closing_.Get(), limit);
        return result == WAIT_OBJECT_0 ? ClosingSignalled : result;
    }
    const HANDLE both[] = {event, closing_.Get()};
    return WaitForMultipleObjects(2, both, FALSE, limit);
}

void ScriptPlayer::StartThreadsFor(const StartThreads& threads) {
    const auto release = std::make_shared<Handle>(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    for (std::uint32_t i = 0; i < threads.count; ++i) {
        const DWORD error = threads_.Start(
            [this, release, &threads] {
                WaitForSingleObject(release->Get(), INFINITE);
                Play(threads.body);
            },
            threads.joined);
        if (error != 0) {
            TranscriptLine line = ActionLine("thread");
            transcript_.Write(line.Word("result", "failed").Number("error", error));
        }
    }
    SetEvent(release->Get());
}

bool ScriptPlayer::Close(DWORD limit) {
    SetEvent(closing_.Get());
    return threads_.Join(limit);
}

}  // namespace dev_controller
