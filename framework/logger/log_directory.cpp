#include "framework/logger/log_directory.h"

#include <algorithm>
#include <cstddef>

#include "framework/system/platform.h"
#include "framework/system/reparse_point.h"
#include "framework/system/wide_format.h"

namespace framework {
namespace {

constexpr std::wstring_view Separators = L"\\/";

bool IsDrive(const std::wstring& component) {
    return component.size() == 2 && component[1] == L':';
}

bool BeginsWithDrive(const std::vector<std::wstring>& components) {
    return !components.empty() && IsDrive(components.front());
}

void TellDeletion(const wchar_t* what, const std::wstring& path, std::uint32_t status) {
    const std::wstring text = what + path + L"\", Win32 error = " + DecimalText(status);
    ::OutputDebugStringW(text.c_str());
}

}  // namespace

std::vector<std::wstring> SplitPath(std::wstring_view path, std::wstring_view separators) {
    std::vector<std::wstring> components;
    for (std::size_t position = 0; position < path.size();) {
        const std::size_t end = std::min(path.find_first_of(separators, position), path.size());
        if (end != position) {
            components.emplace_back(path.substr(position, end - position));
        }
        position = end + 1;
    }
    return components;
}

std::vector<std::wstring> PathPrefixes(std::wstring_view path) {
    const std::vector<std::wstring> components = SplitPath(path, Separators);
    std::vector<std::wstring> prefixes;
    if (!BeginsWithDrive(components)) {
        return prefixes;
    }
    std::wstring prefix = components.front();
    for (std::size_t index = 1; index < components.size(); ++index) {
        prefix += L'\\' + components[index];
        prefixes.push_back(prefix);
    }
    return prefixes;
}

bool CreateDirectoryChain(const std::wstring& path) {
    if (!BeginsWithDrive(SplitPath(path, Separators))) {
        return false;
    }
    const std::vector<std::wstring> prefixes = PathPrefixes(path);
    return std::all_of(prefixes.begin(), prefixes.end(), [](const std::wstring& directory) {
        return ::CreateDirectoryW(directory.c_str(), nullptr) != FALSE ||
               ::GetLastError() == ERROR_ALREADY_EXISTS;
    });
}

void RemoveLinksOnPath(const std::wstring& path) {
    for (const std::wstring& prefix : PathPrefixes(path)) {
        RemoveLinkAt(prefix);
    }
}

void RemoveLinkAt(const std::wstring& path) {
    if (IsMountPoint(path)) {
        TellDeletion(L"Deleted mount point for \"", path, DeleteMountPoint(path));
    }
    if (IsSymbolicLink(path)) {
        TellDeletion(L"Deleted symlink for \"", path, DeleteSymbolicLink(path));
    }
}

}  // namespace framework
