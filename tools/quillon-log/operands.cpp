#include "tools/quillon-log/operands.h"

#include <array>
#include <map>
#include <utility>

#include "framework/system/path_helpers.h"
#include "framework/system/platform.h"
#include "tools/quillon-log/byte_source.h"
#include "tools/quillon-log/log_name.h"
#include "tools/quillon-log/options.h"

namespace quillon_log {
namespace {

std::wstring Expanded(const std::wstring& text) {
    std::wstring expanded;
    return framework::ExpandEnvironmentString(text, expanded) ? expanded : text;
}

/// The folder with its last backslash, empty for the current one, and the name.
std::pair<std::wstring, std::wstring> SplitPath(const std::wstring& path) {
    const std::size_t end = path.find_last_of(L"\\/:");
    const std::size_t name = end == path.npos ? 0 : end + 1;
    return {path.substr(0, name), path.substr(name)};
}

/// Copies standard input to a temporary file and adds that to the operands.
void AddInputCopy(Operands& resolved) {
    std::array<wchar_t, MAX_PATH + 1> folder{};
    std::array<wchar_t, MAX_PATH + 1> path{};
    ::GetTempPathW(static_cast<DWORD>(folder.size()), folder.data());
    ::GetTempFileNameW(folder.data(), L"qlg", 0, path.data());
    resolved.inputCopy.Reset(::CreateFileW(
        path.data(), GENERIC_WRITE | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    std::vector<char> piece(64 * 1024);
    const auto input = StandardInputBytes();
    bool isCopied = static_cast<bool>(resolved.inputCopy);
    for (std::size_t read = 1; isCopied && read != 0;) {
        read = input->Read(piece.data(), piece.size());
        DWORD written = 0;
        isCopied = read == 0 || ::WriteFile(resolved.inputCopy.Get(), piece.data(),
                                            static_cast<DWORD>(read), &written, nullptr) != FALSE;
    }
    if (!isCopied) {
        resolved.missing.push_back(std::wstring(L"standard input, copied to ") + path.data());
        return;
    }
    const auto [place, name] = SplitPath(path.data());
    resolved.folders.emplace_back(place, name, std::wstring(StandardInputName));
}

}  // namespace

Operands ResolveOperands(const std::vector<std::wstring>& operands, bool waits, bool readsTwice) {
    Operands resolved;
    std::map<std::wstring, std::vector<std::wstring>> logs;
    for (const std::wstring& operand :
         operands.empty() ? std::vector<std::wstring>{UsualFolder} : operands) {
        const std::wstring path = Expanded(operand);
        const DWORD attributes = ::GetFileAttributesW(path.c_str());
        const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
        const auto [folder, name] = SplitPath(path);
        if (path == StandardInputName && readsTwice) {
            AddInputCopy(resolved);
        } else if (path == StandardInputName) {
            resolved.folders.emplace_back(L"", std::vector<std::wstring>{path});
        } else if (exists ? (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 : waits) {
            resolved.folders.emplace_back(path);
            resolved.isOneFolder = operands.size() < 2;
        } else if (!exists) {
            resolved.missing.push_back(path);
        } else if (ParseLogName(name)) {
            logs[folder].push_back(name);
        } else {
            resolved.folders.emplace_back(folder, std::vector<std::wstring>{name});
        }
    }
    for (const auto& [folder, names] : logs) {
        resolved.folders.emplace_back(folder, names);
    }
    return resolved;
}

}  // namespace quillon_log
