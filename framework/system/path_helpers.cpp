#include "framework/system/path_helpers.h"

#include <cstddef>

#include "framework/system/platform.h"

// Needs windows.h before it.
#include <shlwapi.h>

namespace framework {

bool ExpandEnvironmentString(const std::wstring& source, std::wstring& expanded) {
    constexpr std::size_t FirstSize = 260;
    std::wstring buffer(FirstSize, L'\0');
    for (;;) {
        const DWORD needed = ::ExpandEnvironmentStringsW(source.c_str(), buffer.data(),
                                                         static_cast<DWORD>(buffer.size()));
        if (needed == 0) {
            return false;
        }
        if (needed <= buffer.size()) {
            // The returned size includes the terminating zero.
            expanded.assign(buffer, 0, needed - 1);
            return true;
        }
        buffer.resize(needed);
    }
}

std::wstring GetExecutableDirectory() {
    constexpr DWORD BufferSize = 512;
    wchar_t path[BufferSize] = {};
    const DWORD length = ::GetModuleFileNameW(nullptr, path, BufferSize);
    if (length == 0 || length == BufferSize) {
        return {};
    }
    if (::PathRemoveFileSpecW(path) == FALSE) {
        return {};
    }
    return path;
}

const wchar_t* GetFileNamePart(const wchar_t* path) {
    if (path == nullptr) {
        return L"";
    }
    const wchar_t* name = path;
    for (const wchar_t* position = path; *position != 0; ++position) {
        if (*position == L'/' || *position == L'\\' || *position == L':') {
            name = position + 1;
        }
    }
    return name;
}

}  // namespace framework
