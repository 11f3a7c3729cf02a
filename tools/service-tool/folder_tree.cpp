#include "tools/service-tool/folder_tree.h"

#include <cwchar>
#include <vector>

#include "framework/system/unique_handle.h"

namespace service_tool {
namespace {

struct FindHandleTraits {
    using Type = HANDLE;
    static Type Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Type handle) noexcept { ::FindClose(handle); }
};
using FindHandle = framework::UniqueHandle<FindHandleTraits>;

struct Entry {
    std::wstring path;
    DWORD attributes;
};

/// Collects the names first, because the visitor may remove the entries.
DWORD ListFolder(const std::wstring& folder, std::vector<Entry>& entries) {
    WIN32_FIND_DATAW found = {};
    const FindHandle search(::FindFirstFileW((folder + L"\\*").c_str(), &found));
    if (!search) {
        return ::GetLastError();
    }
    do {
        const std::wstring name = found.cFileName;
        if (name != L"." && name != L"..") {
            entries.push_back({folder + L'\\' + name, found.dwFileAttributes});
        }
    } while (::FindNextFileW(search.Get(), &found));
    const DWORD error = ::GetLastError();
    return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

bool IsRealFolder(DWORD attributes) {
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

DWORD RemoveEntry(const std::wstring& path, DWORD attributes) {
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        ::SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    }
    const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const BOOL removed = isFolder ? ::RemoveDirectoryW(path.c_str()) : ::DeleteFileW(path.c_str());
    return removed ? ERROR_SUCCESS : ::GetLastError();
}

}  // namespace

bool IsLink(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

DWORD VisitTree(const std::wstring& folder, bool contentsFirst, const EntryVisitor& visit) {
    std::vector<Entry> entries;
    DWORD result = ListFolder(folder, entries);
    const auto keep = [&result](DWORD error) { result = result == 0 ? error : result; };
    for (const Entry& entry : entries) {
        if (!contentsFirst) {
            keep(visit(entry.path, entry.attributes));
        }
        if (IsRealFolder(entry.attributes)) {
            keep(VisitTree(entry.path, contentsFirst, visit));
        }
        if (contentsFirst) {
            keep(visit(entry.path, entry.attributes));
        }
    }
    return result;
}

DWORD RemoveFolder(const std::wstring& folder) {
    const DWORD error = VisitTree(folder, true, RemoveEntry);
    const DWORD own = RemoveEntry(folder, FILE_ATTRIBUTE_DIRECTORY);
    return error != 0 ? error : own;
}

}  // namespace service_tool
