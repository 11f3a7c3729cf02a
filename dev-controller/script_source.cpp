#include "dev-controller/script_source.h"

#include "dev-controller/handle.h"
#include "dev-controller/script_parser.h"
#include "dev-controller/text_encoding.h"

namespace dev_controller {
namespace {

constexpr DWORD LongestPath = 32768;

/// Empty if the variable is missing or empty.
std::wstring Environment(const wchar_t* name) {
    std::wstring value(LongestPath, L'\0');
    const DWORD length = GetEnvironmentVariableW(name, value.data(), LongestPath);
    value.resize(length < LongestPath ? length : 0);
    return value;
}

/// With the backslash at its end; empty if the path has none.
std::wstring FolderOf(const std::wstring& path) {
    return path.substr(0, path.find_last_of(L"\\/") + 1);
}

std::wstring PathOf(HMODULE module) {
    std::wstring path(LongestPath, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), LongestPath));
    return path;
}

bool IsComplete(const std::wstring& path) {
    return path.starts_with(L"\\") || path.starts_with(L"/") || path.find(L':') == 1;
}

bool Exists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::optional<std::string> ReadBytes(const std::wstring& path) {
    const Handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        return std::nullopt;
    }
    std::string bytes;
    char buffer[4096];
    DWORD read = 0;
    while (ReadFile(file.Get(), buffer, sizeof(buffer), &read, nullptr) && read != 0) {
        bytes.append(buffer, read);
    }
    return bytes;
}

std::variant<Script, ScriptError> ReadScript(const std::wstring& path) {
    const auto bytes = ReadBytes(path);
    if (!bytes) {
        return ScriptError{0,
                           L"cannot read " + path + L", error " + std::to_wstring(GetLastError())};
    }
    const auto text = WideFromUtf8(*bytes);
    if (!text) {
        return ScriptError{0, path + L" is not UTF-8"};
    }
    auto script = ParseScript(*text);
    if (auto* read = std::get_if<Script>(&script)) {
        const bool relative = !read->transcript.empty() && !IsComplete(read->transcript);
        read->transcript = (relative ? FolderOf(path) : L"") + read->transcript;
    }
    return script;
}

std::variant<Script, ScriptError> ScriptWithoutFile() {
    Script script;
    script.healthy = true;
    const std::wstring chatty = Environment(L"ORRIN_CTRL_CHATTY");
    if (!chatty.empty()) {
        script.chatter = ParseChatter(chatty);
        if (!script.chatter) {
            return ScriptError{0, L"ORRIN_CTRL_CHATTY is not understood: " + chatty};
        }
    }
    return script;
}

}  // namespace

std::variant<Script, ScriptError> LoadScript(HMODULE module) {
    const std::wstring named = Environment(L"ORRIN_CTRL_SCRIPT");
    const std::wstring beside = FolderOf(PathOf(module)) + L"orrin-ctrl.script";
    auto script = !named.empty()   ? ReadScript(named)
                  : Exists(beside) ? ReadScript(beside)
                                   : ScriptWithoutFile();
    const std::wstring transcript = Environment(L"ORRIN_CTRL_TRANSCRIPT");
    if (auto* read = std::get_if<Script>(&script); read != nullptr && !transcript.empty()) {
        read->transcript = transcript;
    }
    return script;
}

}  // namespace dev_controller
