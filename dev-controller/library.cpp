#include "dev-controller/library.h"

#include <utility>
#include <variant>

#include "dev-controller/import_hooks.h"
#include "dev-controller/record_view.h"
#include "dev-controller/script_source.h"
#include "dev-controller/text_encoding.h"
#include "dev-controller/wine_stop_remedy.h"

namespace dev_controller {
namespace {

constexpr DWORD CloseLimit = 10000;
constexpr DWORD ReportLimit = 5000;
/// Unpacking ends with its threads; a script that doesn't end in this time is aborted.
constexpr DWORD BootstrapLimit = 60000;

void WriteSentReport(Transcript& transcript, const SERVICE_STATUS& status, bool success,
                     DWORD error) {
    TranscriptLine line("status", "sent");
    transcript.Write(line.Number("dwCurrentState", status.dwCurrentState)
                         .Number("dwWin32ExitCode", status.dwWin32ExitCode)
                         .Number("result", success ? 1 : 0)
                         .Number("error", error));
}

/// For the remedy's callback, which has no context argument.
Transcript* reportTranscript = nullptr;

void OnReportSent(const SERVICE_STATUS& status, bool success, DWORD error) {
    WriteSentReport(*reportTranscript, status, success, error);
}

std::wstring ErrorText(const ScriptError& error) {
    const std::wstring place =
        error.line == 0 ? std::wstring() : L"line " + std::to_wstring(error.line) + L": ";
    return L"broken controller script: " + place + error.message;
}

void WriteToStandardError(const std::wstring& text) {
    std::string line = QuotedUtf8(text);
    line = "orrin-ctrl: " + line.substr(1, line.size() - 2) + "\n";
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), line.data(), static_cast<DWORD>(line.size()),
              &written, nullptr);
}

}  // namespace

Library& Library::Instance() {
    static Library& library = *new Library;
    return library;
}

Library::Library() : host_(transcript_), row_{&LoadAddons, &Activate, &NotifyOnStop, &Deactivate} {
    reportTranscript = &transcript_;
}

bool Library::Attach(HMODULE module) {
    InstallWineStopRemedy(&OnReportSent);
    auto script = LoadScript(module);
    if (const auto* error = std::get_if<ScriptError>(&script)) {
        brokenScript_ = ErrorText(*error);
    } else {
        script_ = std::get<Script>(std::move(script));
        if (const auto mistake = Prepare()) {
            brokenScript_ = ErrorText({0, *mistake});
        }
    }
    if (!brokenScript_.empty()) {
        TellBrokenScript();
        return true;
    }
    TranscriptLine line("call", "attach");
    transcript_.Write(line.Number("wine", RunsOnWine() ? 1 : 0)
                          .Quoted("command-line", std::wstring_view(GetCommandLineW())));
    return player_->PlayPoint(Point::Attach).code.value_or(0) == 0;
}

/// Prepares the script and replaces the imports, before any code of the executable runs.
std::optional<std::wstring> Library::Prepare() {
    if (!script_.transcript.empty()) {
        if (const std::uint32_t error = transcript_.Open(script_.transcript)) {
            return L"cannot write the transcript " + script_.transcript + L", error " +
                   std::to_wstring(error);
        }
    }
    player_.emplace(script_, host_, transcript_);
    if (script_.healthy) {
        healthy_.emplace(host_, script_.chatter, script_.firstRegistrarResult,
                         script_.secondRegistrarResult);
    }
    if (script_.importRules.empty()) {
        return std::nullopt;
    }
    return InstallImportHooks(script_.importRules, transcript_,
                              [this](const Actions& actions) { player_->Play(actions); });
}

void Library::TellBrokenScript() {
    OutputDebugStringW((L"orrin-ctrl: " + brokenScript_ + L"\n").c_str());
    WriteToStandardError(brokenScript_);
}

void Library::Detach(bool processEnds) {
    TranscriptLine line("call", "detach");
    transcript_.Write(line.Number("process-ends", processEnds ? 1 : 0));
}

void Library::WriteEnter(const char* call, const void* argument) {
    if (!transcript_.IsOpen()) {
        return;
    }
    TranscriptLine line("call", call);
    transcript_.Write(
        line.Word("phase", "enter").Pointer("argument", argument).Word("com", ComStateOfThread()));
}

std::int32_t Library::WriteLeave(const char* call, std::int32_t code) {
    TranscriptLine line("call", call);
    transcript_.Write(line.Word("phase", "leave").Number("result", code));
    return code;
}

std::int32_t Library::Answer(Point point, HealthyStep step, Outcome& outcome) {
    outcome = player_->PlayPoint(point);
    if (outcome.code) {
        return *outcome.code;
    }
    return healthy_ ? ((*healthy_).*step)() : 0;
}

std::int32_t Library::Create(OrrinControllerParams* params, OrrinController** controllerOut) {
    WriteEnter("create", params);
    if (params == nullptr || controllerOut == nullptr) {
        return WriteLeave("create", RefusedParams);
    }
    TranscriptLine out("create-out", "controller");
    transcript_.Write(
        out.Pointer("address", controllerOut)
            .Number(
                "offset-from-context",
                static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(controllerOut)) -
                    static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(params->context)))
            .Number("null-at-call", *controllerOut == nullptr ? 1 : 0));
    WriteParams(transcript_, *params);
    return WriteLeave("create", CreateChecked(params, controllerOut));
}

std::int32_t Library::CreateChecked(OrrinControllerParams* params,
                                    OrrinController** controllerOut) {
    if (created_.exchange(true)) {
        host_.Log(Level::Error, L"create refused: there is a controller already");
        return RefusedSecondCreate;
    }
    host_.Connect(params);
    std::int32_t code = 0;
    Outcome outcome;
    if (!brokenScript_.empty()) {
        host_.Log(Level::Error, brokenScript_);
        code = BrokenScript;
    } else if (healthy_ && params->version != ORRIN_PARAMS_VERSION_CONTROLLER) {
        host_.Log(Level::Error,
                  L"create refused: parameters of version " + std::to_wstring(params->version));
        code = RefusedParams;
    } else {
        code = Answer(Point::Create, &HealthyController::Create, outcome);
    }
    if (code == 0) {
        *controllerOut = outcome.nullController ? nullptr : &row_;
    } else {
        // After a failed create call the host makes no more calls and must not be called.
        host_.Disconnect();
        created_ = false;
    }
    return code;
}

std::int32_t Library::Serve(const char* name, Point point, HealthyStep step,
                            OrrinController* self) {
    WriteEnter(name, self);
    if (self != &row_) {
        host_.Log(Level::Error, L"a call was refused: it names an unknown controller");
        return WriteLeave(name, RefusedObject);
    }
    Outcome outcome;
    return WriteLeave(name, Answer(point, step, outcome));
}

std::int32_t Library::LoadAddons(OrrinController* self) {
    return Instance().Serve("load", Point::Load, &HealthyController::Load, self);
}

std::int32_t Library::Activate(OrrinController* self) {
    return Instance().Serve("activate", Point::Activate, &HealthyController::Activate, self);
}

std::int32_t Library::NotifyOnStop(OrrinController* self) {
    return Instance().Serve("notify", Point::Notify, &HealthyController::Notify, self);
}

std::int32_t Library::Deactivate(OrrinController* self) {
    return Instance().Serve("deactivate", Point::Deactivate, &HealthyController::Deactivate, self);
}

std::int32_t Library::Free(OrrinController* controller) {
    WriteEnter("free", controller);
    if (!created_) {
        host_.Log(Level::Error, L"free refused: there is no controller");
        return WriteLeave("free", RefusedObject);
    }
    if (const OrrinControllerParams* params = host_.Params()) {
        WriteParams(transcript_, *params);
    }
    Outcome outcome;
    std::int32_t code = Answer(Point::Free, &HealthyController::Free, outcome);
    if (!player_->Close(CloseLimit)) {
        host_.Log(Level::Error, L"a thread of the script is still running");
    }
    host_.Disconnect();
    WaitForHandedOverReports(ReportLimit);
    created_ = false;
    return WriteLeave("free", code);
}

std::int32_t Library::Bootstrap(OrrinControllerParams* params) {
    WriteEnter("bootstrap", params);
    if (params == nullptr) {
        return WriteLeave("bootstrap", RefusedParams);
    }
    WriteParams(transcript_, *params);
    host_.Connect(params);
    Outcome outcome;
    std::int32_t code = BrokenScript;
    if (brokenScript_.empty()) {
        code = Answer(Point::Bootstrap, &HealthyController::Bootstrap, outcome);
        player_->JoinThreads(BootstrapLimit);
        player_->Close(CloseLimit);
    } else {
        host_.Log(Level::Error, brokenScript_);
    }
    host_.Disconnect();
    return WriteLeave("bootstrap", code);
}

}  // namespace dev_controller
