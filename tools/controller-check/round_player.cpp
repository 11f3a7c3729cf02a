#include "tools/controller-check/round_player.h"

// Needs windows.h before it.
#include <objbase.h>

#include <array>
#include <functional>
#include <optional>

#include "tools/controller-check/library_file.h"
#include "tools/controller-check/memory_view.h"
#include "tools/controller-check/played_host.h"

namespace controller_check {
namespace {

constexpr std::array<const wchar_t*, 4> ControllerMembers = {L"LoadAddons", L"Activate",
                                                             L"NotifyOnStop", L"Deactivate"};
static_assert(sizeof(OrrinController) == ControllerMembers.size() * sizeof(void*));

/// For the crash filter, which has no context argument. Never destroyed.
PlayedHost* playedHost;

LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* exception) {
    playedHost->Crash(exception);
}

/// A thread like the logic thread of the service's actions.
class LogicThread {
  public:
    explicit LogicThread(std::function<void()> work) : work_(std::move(work)) {
        thread_.Reset(::CreateThread(nullptr, 0, Run, this, 0, nullptr));
    }
    ~LogicThread() { Wait(); }
    LogicThread(const LogicThread&) = delete;
    LogicThread& operator=(const LogicThread&) = delete;

    void Wait() const { ::WaitForSingleObject(thread_.Get(), INFINITE); }

  private:
    static DWORD WINAPI Run(void* self) {
        static_cast<LogicThread*>(self)->work_();
        return 0;
    }

    std::function<void()> work_;
    framework::KernelHandle thread_;
};

class RoundPlayer {
  public:
    RoundPlayer(const PlayOrder& order, Journal& journal, PlayedHost& host)
        : order_(order), journal_(journal), host_(host) {}

    void Play() {
        if (!Load()) {
            return;
        }
        ::SetUnhandledExceptionFilter(OnUnhandledException);
        if (order_.round == Round::Unpack) {
            Unpack();
        } else {
            LiveOnce();
        }
    }

  private:
    using ControllerFunction = int32_t (*OrrinController::*)(OrrinController*);

    // ---- the library's file ----

    bool Load() {
        Enter(Call::Attach);
        const LoadedLibrary loaded = LoadLibraryFile(order_.library);
        if (loaded.module == nullptr) {
            Event event = Of(EventKind::LoadFailed, Call::Attach);
            event.code = loaded.error;
            journal_.Add(event, loaded.missing);
            return false;
        }
        Return(Call::Attach, 0);
        exports_ = loaded.exports;
        return exports_.create != nullptr && exports_.free != nullptr &&
               exports_.bootstrap != nullptr;
    }

    // ---- the rounds ----

    void LiveOnce() {
        ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        host_.OfferController();
        if (Create()) {
            Serve();
            Free();
        }
        ::CoUninitialize();
    }

    void Serve() {
        switch (order_.round) {
            case Round::Console:
                // An interrupt has no effect in a console run, which has no service manager.
                if (Start()) {
                    ::Sleep(order_.workTime);
                    Stop();
                }
                break;
            case Round::StopAtOnce:
                StartAndStop(0);
                break;
            case Round::Service:
                StartAndStop(order_.workTime);
                break;
            case Round::Shutdown:
                StartBesideStop();
                break;
            case Round::ForcedStop:
                StartAndGiveUp();
                break;
            case Round::NoStart:
            case Round::Unpack:
                break;
        }
    }

    void StartAndStop(std::uint32_t workTime) {
        bool started = false;
        LogicThread([&] { started = Start(); }).Wait();
        // After a failed start or an interrupt the state is stopped, and no stop is delivered.
        if (started && WorkFor(workTime)) {
            LogicThread([this] { Stop(); }).Wait();
        }
    }

    void StartAndGiveUp() {
        bool started = false;
        LogicThread([&] { started = Start(); }).Wait();
        if (started) {
            static_cast<void>(WorkFor(order_.workTime));
        }
    }

    void StartBesideStop() {
        const framework::KernelHandle go(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
        const LogicThread start([&] {
            ::WaitForSingleObject(go.Get(), INFINITE);
            static_cast<void>(Start());
        });
        const LogicThread stop([&] {
            ::WaitForSingleObject(go.Get(), INFINITE);
            Stop();
        });
        ::SetEvent(go.Get());
    }

    /// False if the library has called the interrupt callback.
    [[nodiscard]] bool WorkFor(std::uint32_t milliseconds) const {
        return ::WaitForSingleObject(host_.Interrupted(), milliseconds) == WAIT_TIMEOUT;
    }

    // ---- the host's calls ----

    bool Create() {
        LoaderImage& loader = host_.Loader();
        Enter(Call::Create);
        const std::int32_t code = exports_.create(&loader.params, &loader.controller);
        OrrinController* const controller = loader.controller;
        // The library writes only this field; then the host records the success.
        loader.controller = nullptr;
        Look(Call::Create);
        loader.controller = controller;
        loader.initialized = code == 0 ? 1 : 0;
        host_.Records().Seal();
        CheckApartment(Call::Create);
        Return(Call::Create, code);
        return code == 0 && RowIsGood(Call::Create);
    }

    /// Like the host's loader. True if the service would keep running.
    [[nodiscard]] bool Start() {
        if (Serve(Call::LoadAddons, &OrrinController::LoadAddons).value_or(1) != 0) {
            return false;
        }
        const auto code = Serve(Call::Activate, &OrrinController::Activate);
        if (code == 0 || !code) {
            return code == 0;
        }
        static_cast<void>(Serve(Call::Deactivate, &OrrinController::Deactivate));
        return code == ORRIN_ACTIVATE_SOFT_FAILURE;
    }

    /// Like the host's loader.
    void Stop() {
        if (Serve(Call::NotifyOnStop, &OrrinController::NotifyOnStop) == 0) {
            static_cast<void>(Serve(Call::Deactivate, &OrrinController::Deactivate));
        }
    }

    /// Null if the row has no function to call.
    std::optional<std::int32_t> Serve(Call call, ControllerFunction function) {
        OrrinController* const controller = host_.Loader().controller;
        if (!RowIsGood(call)) {
            return std::nullopt;
        }
        Enter(call);
        const std::int32_t code = (controller->*function)(controller);
        Look(call);
        Return(call, code);
        return code;
    }

    void Free() {
        Enter(Call::Free);
        const std::int32_t code = exports_.free(host_.Loader().controller);
        Look(Call::Free);
        CheckApartment(Call::Free);
        Return(Call::Free, code);
        AwaitStragglers();
    }

    void Unpack() {
        host_.OfferLogSink();
        Enter(Call::Bootstrap);
        const std::int32_t code = exports_.bootstrap(&host_.Loader().params);
        Look(Call::Bootstrap);
        Return(Call::Bootstrap, code);
        AwaitStragglers();
    }

    void AwaitStragglers() {
        host_.End();
        ::Sleep(order_.afterFreeTime);
        journal_.Add(Of(EventKind::Watched, Call::None));
    }

    // ---- checks ----

    bool RowIsGood(Call call) {
        const std::wstring fault = RowFault(host_.Loader().controller, ControllerMembers);
        if (!fault.empty()) {
            journal_.Add(Of(EventKind::BadRow, call), fault);
        }
        return fault.empty();
    }

    void Look(Call call) {
        const std::wstring change = host_.Records().FindChange();
        if (!change.empty()) {
            journal_.Add(Of(EventKind::RecordChanged, call), change);
        }
        if (::SetUnhandledExceptionFilter(OnUnhandledException) != OnUnhandledException) {
            journal_.Add(Of(EventKind::FilterReplaced, call));
        }
    }

    void CheckApartment(Call call) {
        APTTYPE type = APTTYPE_CURRENT;
        APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
        if (::CoGetApartmentType(&type, &qualifier) != S_OK || type != APTTYPE_MTA) {
            journal_.Add(Of(EventKind::ApartmentLost, call));
        }
    }

    static Event Of(EventKind kind, Call call) {
        Event event = {};
        event.kind = kind;
        event.call = call;
        return event;
    }

    void Enter(Call call) { journal_.Add(Of(EventKind::Entered, call)); }

    void Return(Call call, std::int32_t code) {
        Event event = Of(EventKind::Returned, call);
        event.code = code;
        journal_.Add(event);
    }

    const PlayOrder& order_;
    Journal& journal_;
    PlayedHost& host_;
    LibraryExports exports_ = {};
};

}  // namespace

void PlayRound(const PlayOrder& order, Journal& journal) {
    playedHost = new PlayedHost(journal, order.round != Round::Console);
    RoundPlayer(order, journal, *playedHost).Play();
    // The library's own clean-up at process exit can still hang or crash.
    Event event = {};
    event.kind = EventKind::Entered;
    event.call = Call::ProcessEnd;
    journal.Add(event);
}

}  // namespace controller_check
