#include "tools/quillon-log/operands.h"

#include <map>
#include <utility>

#include "framework/system/path_helpers.h"
#include "framework/system/platform.h"
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

}  // namespace

Operands ResolveOperands(const std::vector<std::wstring>& operands, bool waits) {
    Operands resolved;
    std::map<std::wstring, std::vector<std::wstring>> logs;
    for (const std::wstring& operand :
         operands.empty() ? std::vector<std::wstring>{UsualFolder} : operands) {
        const std::wstring path = Expanded(operand);
        const DWORD attributes = ::GetFileAttributesW(path.c_str());
        const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
        const auto [folder, name] = SplitPath(path);
        if (path == StandardInputName) {
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
