#include "dev-controller/record_view.h"

#include <cstring>

namespace dev_controller {
namespace {

std::int64_t Distance(const void* from, const void* to) {
    return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(to)) -
           static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(from));
}

TranscriptLine RecordLine(std::string_view name, const void* record, std::size_t size,
                          const void* context) {
    TranscriptLine line("record", name);
    line.Pointer("address", record);
    if (context != nullptr) {
        line.Number("offset-from-context", Distance(context, record));
    }
    line.Number("size", static_cast<std::int64_t>(size)).Bytes("bytes", record, size);
    return line;
}

TranscriptLine& AddText(TranscriptLine& line, std::string_view name, const char* text) {
    return text == nullptr ? line.Word(name, "null") : line.Quoted(name, std::string_view(text));
}

void AddHead(TranscriptLine& line, const QuillonInterfaceHead& head) {
    AddText(line, "identifier", head.identifier)
        .Hex("version", head.version)
        .Pointer("context", head.context)
        .Hex("zero24", head.zero24)
        .Hex("zero32", head.zero32)
        .Hex("zero40", head.zero40);
}

bool Identified(const QuillonInterfaceHead& head, const char* identifier) {
    return head.identifier != nullptr && std::strcmp(head.identifier, identifier) == 0;
}

/// Numbers of the platform's APTTYPE and APTTYPEQUALIFIER.
const char* ApartmentName(int type, int qualifier) {
    constexpr int ImplicitMta = 1;
    switch (type) {
        case 0:
            return "sta";
        case 1:
            return qualifier == ImplicitMta ? "implicit-mta" : "mta";
        case 2:
            return "na";
        case 3:
            return "main-sta";
        default:
            return "unknown";
    }
}

}  // namespace

void WriteParams(Transcript& transcript, const OrrinControllerParams& params) {
    TranscriptLine line = RecordLine("params", &params, sizeof(params), params.context);
    line.Number("version", params.version)
        .Hex("zero4", params.zero4)
        .Pointer("OrrinLoggingCallback", params.OrrinLoggingCallback)
        .Pointer("LogFlush", params.LogFlush)
        .Hex("zero24", params.zero24)
        .Pointer("OrrinInterruptCallback", params.OrrinInterruptCallback)
        .Hex("zero40", params.zero40)
        .Pointer("RegisterHostComponentEntry", params.RegisterHostComponentEntry)
        .Pointer("context", params.context)
        .Hex("zero64", params.zero64)
        .Hex("zero72", params.zero72);
    transcript.Write(line);
}

void WriteComponent(Transcript& transcript, const OrrinHostComponent& component,
                    const void* context) {
    TranscriptLine line = RecordLine("component", &component, sizeof(component), context);
    AddText(line, "name", component.name)
        .Hex("zero8", component.zero8)
        .Hex("zero16", component.zero16)
        .Pointer("callback", component.callback)
        .Bytes("zero32", component.zero32, sizeof(component.zero32));
    transcript.Write(line);
}

void WriteInterface(Transcript& transcript, const QuillonInterfaceHead& head, const void* context) {
    const void* record = &head;
    if (Identified(head, "quillon_interaction")) {
        const auto& whole = *static_cast<const QuillonInteractionInterface*>(record);
        TranscriptLine line = RecordLine("interaction", record, sizeof(whole), context);
        AddHead(line, head);
        line.Pointer("OrrinEnableServiceStop", whole.OrrinEnableServiceStop);
        transcript.Write(line);
    } else if (Identified(head, "quillon_exception")) {
        const auto& whole = *static_cast<const QuillonExceptionInterface*>(record);
        TranscriptLine line = RecordLine("exception", record, sizeof(whole), context);
        AddHead(line, head);
        line.Pointer("OrrinSetPreExceptionCallback", whole.OrrinSetPreExceptionCallback)
            .Pointer("OrrinRemovePreExceptionCallback", whole.OrrinRemovePreExceptionCallback);
        transcript.Write(line);
    } else {
        TranscriptLine line = RecordLine("unknown-interface", record, sizeof(head), context);
        AddHead(line, head);
        transcript.Write(line);
    }
}

const char* ComStateOfThread() {
    using GetApartment = HRESULT(WINAPI*)(int* type, int* qualifier);
    // Not imported, so that a transcript doesn't load COM into a process that doesn't use it.
    const HMODULE ole32 = GetModuleHandleW(L"ole32.dll");
    const FARPROC address =
        ole32 == nullptr ? nullptr : GetProcAddress(ole32, "CoGetApartmentType");
    if (address == nullptr) {
        return "unloaded";
    }
    const auto getApartment =
        reinterpret_cast<GetApartment>(reinterpret_cast<std::uintptr_t>(address));
    int type = 0;
    int qualifier = 0;
    return getApartment(&type, &qualifier) == S_OK ? ApartmentName(type, qualifier) : "none";
}

}  // namespace dev_controller
