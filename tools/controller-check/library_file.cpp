#include "tools/controller-check/library_file.h"

#include "framework/system/unique_handle.h"
#include "tools/controller-check/library_image.h"

namespace controller_check {
namespace {

template <class Function>
Function FindExport(HMODULE module, const char* name) {
    // Cast through another function type: FARPROC has no arguments and another result.
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(::GetProcAddress(module, name)));
}

/// Whether the platform finds a library of this name from the folder of `fullPath`. Runs none of
/// its code.
bool IsFound(const std::wstring& fullPath, const std::wstring& name) {
    const std::wstring beside = fullPath.substr(0, fullPath.rfind(L'\\') + 1) + name;
    return ::GetFileAttributesW(beside.c_str()) != INVALID_FILE_ATTRIBUTES ||
           ::LoadLibraryExW(name.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES) != nullptr;
}

std::wstring FindMissing(const std::wstring& fullPath) {
    for (const std::string& import : ReadImage(ReadFileBytes(fullPath).value_or("")).imports) {
        std::wstring name(import.begin(), import.end());
        if (!IsFound(fullPath, name)) {
            return name;
        }
    }
    return {};
}

}  // namespace

std::optional<std::string> ReadFileBytes(const std::wstring& path) {
    const framework::FileHandle file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ,
                                                   nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                                   nullptr));
    LARGE_INTEGER size = {};
    if (!file || ::GetFileSizeEx(file.Get(), &size) == FALSE) {
        return std::nullopt;
    }
    if (size.QuadPart > MAXLONG) {
        ::SetLastError(ERROR_FILE_TOO_LARGE);
        return std::nullopt;
    }
    std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    if (::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) ==
        FALSE) {
        return std::nullopt;
    }
    bytes.resize(read);
    return bytes;
}

LoadedLibrary LoadLibraryFile(const std::wstring& fullPath) {
    LoadedLibrary loaded;
    loaded.module = ::LoadLibraryExW(fullPath.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (loaded.module == nullptr) {
        loaded.error = ::GetLastError();
        if (loaded.error == ERROR_MOD_NOT_FOUND) {
            loaded.missing = FindMissing(fullPath);
        }
        return loaded;
    }
    loaded.exports.create = FindExport<decltype(LibraryExports::create)>(
        loaded.module, "OrrinCreateComponentModelController");
    loaded.exports.free = FindExport<decltype(LibraryExports::free)>(
        loaded.module, "OrrinFreeComponentModelController");
    loaded.exports.bootstrap =
        FindExport<decltype(LibraryExports::bootstrap)>(loaded.module, "OrrinBootstrap");
    return loaded;
}

}  // namespace controller_check
