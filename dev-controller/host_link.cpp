#include "dev-controller/host_link.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string_view>

#include "dev-controller/record_view.h"

namespace dev_controller {
namespace {

constexpr const wchar_t* OwnComponent = L"dev-controller";

TranscriptLine Before(const char* call) {
    TranscriptLine line("host", call);
    line.Word("phase", "before");
    return line;
}

TranscriptLine After(const char* call) {
    TranscriptLine line("host", call);
    line.Word("phase", "after");
    return line;
}

void AddText(TranscriptLine& line, std::string_view name, const wchar_t* text) {
    constexpr std::size_t ShownCharacters = 120;
    if (text == nullptr) {
        line.Word(name, "null");
        return;
    }
    const std::wstring_view whole(text);
    line.Quoted(name, whole.substr(0, ShownCharacters));
}

}  // namespace

void HostLink::Connect(OrrinControllerParams* params) {
    params_ = params;
}

void HostLink::Disconnect() {
    interaction_ = nullptr;
    exception_ = nullptr;
    params_ = nullptr;
}

void HostLink::Unavailable(const char* call) {
    TranscriptLine line("host", call);
    transcript_.Write(line.Word("phase", "unavailable"));
    Log(Level::Error, L"the host offers no " + std::wstring(call, call + std::strlen(call)));
}

void HostLink::Log(std::uint32_t level, const wchar_t* component, const wchar_t* text) {
    const OrrinControllerParams* params = params_;
    if (params == nullptr || params->OrrinLoggingCallback == nullptr) {
        return;
    }
    if (transcript_.IsOpen()) {
        TranscriptLine line("host", "log");
        line.Number("level", static_cast<std::int32_t>(level));
        AddText(line, "component", component);
        line.Number("length", text == nullptr ? -1 : static_cast<std::int64_t>(std::wcslen(text)));
        AddText(line, "text", text);
        transcript_.Write(line);
    }
    params->OrrinLoggingCallback(nullptr, level, component, text);
}

void HostLink::Log(Level level, const wchar_t* component, const std::wstring& text) {
    Log(static_cast<std::uint32_t>(level), component, text.c_str());
}

void HostLink::Log(Level level, const std::wstring& text) {
    Log(level, OwnComponent, text);
}

void HostLink::FlushLog() {
    const OrrinControllerParams* params = params_;
    if (params == nullptr || params->LogFlush == nullptr) {
        return Unavailable("flush");
    }
    transcript_.Write(Before("flush"));
    params->LogFlush();
    transcript_.Write(After("flush"));
}

void HostLink::Interrupt() {
    const OrrinControllerParams* params = params_;
    if (params == nullptr || params->OrrinInterruptCallback == nullptr) {
        return Unavailable("interrupt");
    }
    transcript_.Write(Before("interrupt"));
    params->OrrinInterruptCallback();
    transcript_.Write(After("interrupt"));
}

std::optional<std::uint32_t> HostLink::RegisterInterfaces(std::uint32_t firstResult,
                                                          std::uint32_t secondResult) {
    const OrrinControllerParams* params = params_;
    if (params == nullptr || params->RegisterHostComponentEntry == nullptr) {
        Unavailable("register");
        return std::nullopt;
    }
    // The host calls back only during this call, so a local registrar is safe.
    Registrar registrar = {{&RegisterInterface}, this, {firstResult, secondResult}, 0};
    TranscriptLine before = Before("register");
    transcript_.Write(before.Pointer("registrar", &registrar).Pointer("context", params->context));
    const std::uint32_t result =
        params->RegisterHostComponentEntry(&registrar.row, nullptr, nullptr, params->context);
    TranscriptLine after = After("register");
    transcript_.Write(after.Number("result", result).Number("interfaces", registrar.calls));
    return result;
}

std::uint32_t HostLink::RegisterInterface(OrrinInterfaceRegistrar* self,
                                          OrrinHostComponent* component,
                                          QuillonInterfaceHead* head) {
    void* registrar = self;
    return static_cast<Registrar*>(registrar)->link->Take(*static_cast<Registrar*>(registrar),
                                                          component, head);
}

std::uint32_t HostLink::Take(Registrar& registrar, OrrinHostComponent* component,
                             QuillonInterfaceHead* head) {
    const std::uint32_t call = ++registrar.calls;
    TranscriptLine enter("call", "register-interface");
    transcript_.Write(enter.Word("phase", "enter")
                          .Number("call-number", call)
                          .Pointer("registrar", &registrar)
                          .Pointer("component", component)
                          .Pointer("interface", head));
    const OrrinControllerParams* params = params_;
    const void* context = params == nullptr ? nullptr : params->context;
    if (component != nullptr) {
        WriteComponent(transcript_, *component, context);
    }
    const std::uint32_t result = registrar.results[std::min(call, 2U) - 1];
    if (head != nullptr) {
        WriteInterface(transcript_, *head, context);
        if (result == 0) {
            Keep(head);
        }
    }
    TranscriptLine leave("call", "register-interface");
    transcript_.Write(leave.Word("phase", "leave").Number("result", result));
    return result;
}

void HostLink::Keep(QuillonInterfaceHead* head) {
    void* record = head;
    if (head->identifier == nullptr) {
        return;
    }
    if (std::strcmp(head->identifier, "quillon_interaction") == 0) {
        interaction_ = static_cast<QuillonInteractionInterface*>(record);
    } else if (std::strcmp(head->identifier, "quillon_exception") == 0) {
        exception_ = static_cast<QuillonExceptionInterface*>(record);
    }
}

std::optional<std::uint32_t> HostLink::EnableStop() {
    const QuillonInteractionInterface* interaction = interaction_;
    if (interaction == nullptr || interaction->OrrinEnableServiceStop == nullptr) {
        Unavailable("enable-stop");
        return std::nullopt;
    }
    transcript_.Write(Before("enable-stop"));
    const std::uint32_t result = interaction->OrrinEnableServiceStop();
    TranscriptLine after = After("enable-stop");
    transcript_.Write(after.Number("result", result));
    return result;
}

std::optional<std::uint32_t> HostLink::SetCallback(OrrinPreExceptionCallback callback,
                                                   void* context) {
    const QuillonExceptionInterface* exception = exception_;
    if (exception == nullptr || exception->OrrinSetPreExceptionCallback == nullptr) {
        Unavailable("set-callback");
        return std::nullopt;
    }
    TranscriptLine before = Before("set-callback");
    transcript_.Write(before.Pointer("callback", callback).Pointer("context", context));
    const std::uint32_t result =
        exception->OrrinSetPreExceptionCallback(nullptr, callback, context);
    TranscriptLine after = After("set-callback");
    transcript_.Write(after.Number("result", result));
    return result;
}

std::optional<std::uint32_t> HostLink::RemoveCallback() {
    const QuillonExceptionInterface* exception = exception_;
    if (exception == nullptr || exception->OrrinRemovePreExceptionCallback == nullptr) {
        Unavailable("remove-callback");
        return std::nullopt;
    }
    transcript_.Write(Before("remove-callback"));
    const std::uint32_t result = exception->OrrinRemovePreExceptionCallback();
    TranscriptLine after = After("remove-callback");
    transcript_.Write(after.Number("result", result));
    return result;
}

}  // namespace dev_controller
