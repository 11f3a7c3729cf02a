#include "tools/controller-check/played_host.h"

#include <array>

#include "tools/controller-check/memory_view.h"

namespace controller_check {
namespace {

/// For one function, so that a library that repeats a call doesn't fill the journal.
constexpr std::uint32_t MostNotedCalls = 64;

PlayedHost* current;

Event Of(EventKind kind, HostFunction function) {
    Event event = {};
    event.kind = kind;
    event.function = function;
    return event;
}

QuillonInterfaceHead MakeHead(const char* identifier, void* context) {
    QuillonInterfaceHead head = {};
    head.identifier = identifier;
    head.version = 1;
    head.context = context;
    return head;
}

}  // namespace

PlayedHost::PlayedHost(Journal& journal, bool hasServiceManager)
    : journal_(journal),
      hasServiceManager_(hasServiceManager),
      interrupted_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    current = this;
}

PlayedHost& PlayedHost::Current() {
    return *current;
}

void PlayedHost::OfferController() {
    LoaderImage& loader = Loader();
    loader.comInitialized = 1;
    loader.params.version = ORRIN_PARAMS_VERSION_CONTROLLER;
    loader.params.OrrinLoggingCallback = OnLog;
    loader.params.LogFlush = OnFlush;
    loader.params.OrrinInterruptCallback = OnInterrupt;
    loader.params.RegisterHostComponentEntry = OnRegister;
    loader.params.context = &loader;
    loader.component.name = "Quillon";
    loader.component.callback = OnComponent;
    loader.interaction.head = MakeHead("quillon_interaction", &loader);
    loader.interaction.OrrinEnableServiceStop = OnEnableStop;
    loader.exception.head = MakeHead("quillon_exception", &loader);
    loader.exception.OrrinSetPreExceptionCallback = OnSetCallback;
    loader.exception.OrrinRemovePreExceptionCallback = OnRemoveCallback;
    records_.Seal();
}

void PlayedHost::OfferLogSink() {
    Loader().params.version = ORRIN_PARAMS_VERSION_BOOTSTRAP;
    Loader().params.OrrinLoggingCallback = OnLog;
    records_.Seal();
}

void PlayedHost::End() {
    ended_ = true;
    for (auto& count : calls_) {
        count = 0;
    }
    if (callback_.load() != nullptr) {
        journal_.Add(Of(EventKind::CallbackLeft, HostFunction::SetCallback));
    }
    records_.Release();
}

void PlayedHost::Crash(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    Event event = {};
    event.kind = EventKind::Crashed;
    event.code = static_cast<std::int64_t>(record.ExceptionCode);
    if (ended_ && record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION &&
        record.NumberParameters == 2 &&
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the platform hands the address as a number
        records_.Holds(reinterpret_cast<const void*>(record.ExceptionInformation[1]))) {
        event.kind = EventKind::TouchedReleased;
    }
    wchar_t place[64] = {};
    DescribePlace(record.ExceptionAddress, place, 64);
    journal_.Add(event, place);
    ::TerminateProcess(::GetCurrentProcess(), record.ExceptionCode);
    for (;;) {
        ::Sleep(INFINITE);
    }
}

// The library calls the functions below, on any of its threads, also concurrently.

void PlayedHost::Note(HostFunction function) {
    if (calls_[static_cast<std::size_t>(function)].fetch_add(1) < MostNotedCalls) {
        journal_.Add(Of(EventKind::HostCalled, function));
    }
}

void PlayedHost::NoteText(const wchar_t* what, const wchar_t* text) {
    const std::wstring fault = TextFault(text);
    if (!fault.empty() &&
        calls_[static_cast<std::size_t>(HostFunction::Log)].fetch_add(1) < MostNotedCalls) {
        journal_.Add(Of(EventKind::BadText, HostFunction::Log), what + (L' ' + fault));
    }
}

void PlayedHost::OnLog(void* /*unused*/, std::uint32_t /*level*/, const wchar_t* component,
                       const wchar_t* message) {
    PlayedHost& host = Current();
    if (host.ended_) {
        host.Note(HostFunction::Log);
        return;
    }
    host.journal_.CountLogLine();
    // A null message writes nothing; the component is then ignored.
    if (message != nullptr) {
        host.NoteText(L"the message", message);
        if (component != nullptr) {
            host.NoteText(L"the component", component);
        }
    }
}

void PlayedHost::OnFlush() {
    if (Current().ended_) {
        Current().Note(HostFunction::Flush);
    }
}

void PlayedHost::OnInterrupt() {
    PlayedHost& host = Current();
    host.Note(HostFunction::Interrupt);
    ::SetEvent(host.interrupted_.Get());
}

void PlayedHost::OnComponent() {}

std::uint32_t PlayedHost::OnRegister(OrrinInterfaceRegistrar* registrar, void* /*second*/,
                                     void* /*third*/, void* context) {
    PlayedHost& host = Current();
    host.Note(HostFunction::Register);
    if (host.ended_) {
        return ERROR_INVALID_FUNCTION;
    }
    LoaderImage& loader = host.Loader();
    if (context != &loader) {
        host.journal_.Add(Of(EventKind::BadContext, HostFunction::Register));
    }
    const std::wstring fault = RowFault(registrar, std::array{L"RegisterInterface"});
    if (!fault.empty()) {
        host.journal_.Add(Of(EventKind::BadRegistrar, HostFunction::Register), fault);
        return ERROR_INVALID_FUNCTION;
    }
    host.RegisterOne(registrar, &loader.interaction.head, L"quillon_interaction");
    return host.RegisterOne(registrar, &loader.exception.head, L"quillon_exception");
}

std::uint32_t PlayedHost::RegisterOne(OrrinInterfaceRegistrar* registrar,
                                      QuillonInterfaceHead* head, const wchar_t* name) {
    const std::uint32_t code = registrar->RegisterInterface(registrar, &Loader().component, head);
    if (code != 0) {
        Event event = Of(EventKind::Refused, HostFunction::Register);
        event.code = code;
        journal_.Add(event, name);
    }
    return code;
}

std::uint32_t PlayedHost::OnEnableStop() {
    Current().Note(HostFunction::EnableStop);
    return Current().hasServiceManager_ ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

std::uint32_t PlayedHost::OnSetCallback(void* /*unused*/, OrrinPreExceptionCallback callback,
                                        void* /*context*/) {
    PlayedHost& host = Current();
    host.Note(HostFunction::SetCallback);
    if (callback != nullptr && !IsCallable(reinterpret_cast<const void*>(callback))) {
        host.journal_.Add(Of(EventKind::BadCallback, HostFunction::SetCallback));
    }
    host.callback_ = callback;
    return 0;
}

std::uint32_t PlayedHost::OnRemoveCallback() {
    Current().Note(HostFunction::RemoveCallback);
    Current().callback_ = nullptr;
    return 0;
}

}  // namespace controller_check
