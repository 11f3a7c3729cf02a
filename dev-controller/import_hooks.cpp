#include "dev-controller/import_hooks.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <utility>

#include "dev-controller/import_patch.h"
#include "dev-controller/platform.h"

namespace dev_controller {
namespace {

constexpr std::size_t SlotCount = 32;
constexpr std::size_t ArgumentCount = 12;
using Arguments = std::array<std::uint64_t, ArgumentCount>;
/// On x64 integer arguments have fixed places, whatever their number, and the caller cleans up. So
/// passing too many arguments is harmless.
using AnyFunction = std::uint64_t(WINAPI*)(std::uint64_t, std::uint64_t, std::uint64_t,
                                           std::uint64_t, std::uint64_t, std::uint64_t,
                                           std::uint64_t, std::uint64_t, std::uint64_t,
                                           std::uint64_t, std::uint64_t, std::uint64_t);

struct Slot {
    std::string function;
    AnyFunction original = nullptr;
    std::vector<ImportRule> rules;
    std::atomic<std::uint32_t> calls = 0;
};

/// Written before the imports are replaced and read afterwards. Never destroyed, because calls
/// continue until the process ends.
std::array<Slot, SlotCount>& slots = *new std::array<Slot, SlotCount>;
Transcript* transcript = nullptr;
RunActions& runActions = *new RunActions;
/// Not null on a thread that runs the actions of a rule.
DWORD insideActions = TLS_OUT_OF_INDEXES;

std::uint64_t CallOriginal(const Slot& slot, const Arguments& a) {
    return slot.original(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9], a[10], a[11]);
}

/// Reads with ReadProcessMemory, because the argument may not be a pointer.
std::wstring TextAt(std::uint64_t address) {
    constexpr std::size_t MaximumLength = 1024;
    std::wstring text;
    wchar_t unit = L'\0';
    while (text.size() < MaximumLength) {
        const auto* next = reinterpret_cast<const wchar_t*>(address) + text.size();
        SIZE_T read = 0;
        if (!ReadProcessMemory(GetCurrentProcess(), next, &unit, sizeof(unit), &read) ||
            unit == L'\0') {
            break;
        }
        text += unit;
    }
    return text;
}

void RunBeforeCall(const BeforeImport& before) {
    void* marker = &insideActions;
    TlsSetValue(insideActions, marker);
    runActions(before.body);
    TlsSetValue(insideActions, nullptr);
}

TranscriptLine CallLine(const Slot& slot, std::uint32_t call, const char* phase) {
    TranscriptLine line("import", slot.function);
    line.Number("call-number", call).Word("phase", phase);
    return line;
}

void TraceEnter(const Slot& slot, std::uint32_t call, const Arguments& arguments) {
    TranscriptLine line = CallLine(slot, call, "enter");
    line.Hex("arg1", arguments[0])
        .Hex("arg2", arguments[1])
        .Hex("arg3", arguments[2])
        .Hex("arg4", arguments[3]);
    transcript->Write(line);
}

struct Result {
    std::uint64_t value = 0;
    DWORD error = 0;
    bool failedOnPurpose = false;
};

void TraceLeave(const Slot& slot, std::uint32_t call, const Result& result) {
    TranscriptLine line = CallLine(slot, call, "leave");
    line.Hex("result", result.value)
        .Number("error", result.error)
        .Number("failed-on-purpose", result.failedOnPurpose ? 1 : 0);
    transcript->Write(line);
}

/// Called before the import, because the process may end after SERVICE_STOPPED.
void WriteStatus(std::uint32_t call, const SERVICE_STATUS& status) {
    TranscriptLine line("status", "report");
    line.Number("report-number", call)
        .Hex("dwServiceType", status.dwServiceType)
        .Number("dwCurrentState", status.dwCurrentState)
        .Number("dwControlsAccepted", status.dwControlsAccepted)
        .Number("dwWin32ExitCode", status.dwWin32ExitCode)
        .Number("dwServiceSpecificExitCode", status.dwServiceSpecificExitCode)
        .Number("dwCheckPoint", status.dwCheckPoint)
        .Number("dwWaitHint", status.dwWaitHint);
    transcript->Write(line);
}

void WriteStatusAnswer(std::uint32_t call, const Result& result) {
    const std::uint64_t success = result.value & 0xFFFFFFFF;
    TranscriptLine line("status", "answer");
    line.Number("report-number", call)
        .Number("result", static_cast<std::int64_t>(success))
        .Number("error", success == 0 ? result.error : 0);
    transcript->Write(line);
}

const FailImport* FailureFor(const Slot& slot, std::uint32_t call, const Arguments& arguments) {
    for (const ImportRule& rule : slot.rules) {
        const auto* fail = std::get_if<FailImport>(&rule.what);
        if (fail == nullptr || !rule.calls.Holds(call)) {
            continue;
        }
        if (fail->text.empty() || TextAt(arguments[0]).find(fail->text) != std::wstring::npos) {
            return fail;
        }
    }
    return nullptr;
}

template <typename Kind>
bool HasRule(const Slot& slot) {
    return std::any_of(slot.rules.begin(), slot.rules.end(), [](const ImportRule& rule) {
        return std::holds_alternative<Kind>(rule.what);
    });
}

Result Answer(const Slot& slot, std::uint32_t call, const Arguments& arguments) {
    Result result;
    if (const FailImport* fail = FailureFor(slot, call, arguments)) {
        result.value = fail->result.value_or(FailureResult(slot.function, fail->error));
        result.error = fail->error;
        result.failedOnPurpose = true;
    } else {
        result.value = CallOriginal(slot, arguments);
        result.error = GetLastError();
    }
    return result;
}

std::uint64_t Dispatch(std::size_t index, const Arguments& arguments) {
    Slot& slot = slots[index];
    const DWORD lastError = GetLastError();
    const bool inside = TlsGetValue(insideActions) != nullptr;
    if (inside) {
        SetLastError(lastError);
        return CallOriginal(slot, arguments);
    }
    const std::uint32_t call = ++slot.calls;
    for (const ImportRule& rule : slot.rules) {
        const auto* before = std::get_if<BeforeImport>(&rule.what);
        if (before != nullptr && rule.calls.Holds(call)) {
            RunBeforeCall(*before);
        }
    }
    const bool trace = HasRule<TraceImport>(slot);
    if (trace) {
        TraceEnter(slot, call, arguments);
    }
    const bool record = HasRule<RecordStatus>(slot);
    if (record) {
        const auto* status = reinterpret_cast<const SERVICE_STATUS*>(arguments[1]);
        WriteStatus(call, status != nullptr ? *status : SERVICE_STATUS{});
    }
    SetLastError(lastError);
    const Result result = Answer(slot, call, arguments);
    if (record) {
        WriteStatusAnswer(call, result);
    }
    if (trace) {
        TraceLeave(slot, call, result);
    }
    SetLastError(result.error);
    return result.value;
}

template <std::size_t Index>
std::uint64_t WINAPI Entry(std::uint64_t a0, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                           std::uint64_t a4, std::uint64_t a5, std::uint64_t a6, std::uint64_t a7,
                           std::uint64_t a8, std::uint64_t a9, std::uint64_t a10,
                           std::uint64_t a11) {
    return Dispatch(Index, {a0, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11});
}

template <std::size_t... Indices>
constexpr std::array<AnyFunction, sizeof...(Indices)> MakeEntries(std::index_sequence<Indices...>) {
    return {Entry<Indices>...};
}

constexpr std::array<AnyFunction, SlotCount> Entries =
    MakeEntries(std::make_index_sequence<SlotCount>());

std::wstring Widen(const std::string& ascii) {
    return std::wstring(ascii.begin(), ascii.end());
}

/// Slots in use come first. Null if there are too many functions.
Slot* SlotFor(const std::string& function) {
    for (Slot& slot : slots) {
        if (slot.function.empty() || slot.function == function) {
            slot.function = function;
            return &slot;
        }
    }
    return nullptr;
}

std::optional<std::wstring> Replace(Slot& slot, AnyFunction entry) {
    void** word = FindExecutableImport(slot.function.c_str());
    if (word == nullptr) {
        return L"the executable does not import " + Widen(slot.function);
    }
    slot.original = reinterpret_cast<AnyFunction>(reinterpret_cast<std::uintptr_t>(*word));
    if (ReplaceImport(word, reinterpret_cast<void*>(entry)) == nullptr) {
        return L"the import table is not writable";
    }
    return std::nullopt;
}

}  // namespace

std::uint64_t FailureResult(const std::string& function, std::uint32_t error) {
    constexpr std::uint64_t InvalidHandle = ~std::uint64_t{0};
    constexpr std::uint64_t Failed32 = 0xFFFFFFFF;
    constexpr const char* InvalidHandleFunctions[] = {"CreateFileW", "CreateFileA",
                                                      "FindFirstFileW", "FindFirstFileExW",
                                                      "CreateToolhelp32Snapshot"};
    constexpr const char* AllBitsFunctions[] = {"GetFileAttributesW", "SetFilePointer",
                                                "ResumeThread", "SuspendThread", "GetFileSize"};
    const auto is = [&](const char* name) { return function == name; };
    if (std::any_of(std::begin(InvalidHandleFunctions), std::end(InvalidHandleFunctions), is)) {
        return InvalidHandle;
    }
    if (function.starts_with("WaitFor") ||
        std::any_of(std::begin(AllBitsFunctions), std::end(AllBitsFunctions), is)) {
        return Failed32;
    }
    // Registry functions return the error itself.
    return function.starts_with("Reg") && !function.starts_with("Register") ? error : 0;
}

std::optional<std::wstring> InstallImportHooks(const std::vector<ImportRule>& rules,
                                               Transcript& transcriptToUse,
                                               RunActions runActionsToUse) {
    transcript = &transcriptToUse;
    runActions = std::move(runActionsToUse);
    insideActions = TlsAlloc();
    for (const ImportRule& rule : rules) {
        Slot* slot = SlotFor(rule.function);
        if (slot == nullptr) {
            return L"more than 32 imports are named";
        }
        slot->rules.push_back(rule);
    }
    for (std::size_t i = 0; i < SlotCount && !slots[i].function.empty(); ++i) {
        if (auto mistake = Replace(slots[i], Entries[i])) {
            return mistake;
        }
    }
    return std::nullopt;
}

}  // namespace dev_controller
