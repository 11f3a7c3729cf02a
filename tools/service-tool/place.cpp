#include "tools/service-tool/place.h"

#include <psapi.h>
#include <userenv.h>

#include <cwchar>

#include "framework/system/path_helpers.h"
#include "framework/system/unique_handle.h"

namespace service_tool {
namespace {

constexpr std::size_t LongestPath = 32768;

std::wstring OwnFolder() {
    std::wstring path(LongestPath, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path.substr(0, path.rfind(L'\\') + 1);
}

framework::KernelHandle OwnToken() {
    framework::KernelHandle token;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE,
                            token.Receive())) {
        token.Reset();
    }
    return token;
}

/// On Wine 8 a service process has another ALLUSERSPROFILE than a console process.
std::wstring MachineDataFolder() {
    constexpr std::wstring_view Name = L"ALLUSERSPROFILE=";
    void* block = nullptr;
    std::wstring folder;
    if (::CreateEnvironmentBlock(&block, OwnToken().Get(), FALSE)) {
        for (const auto* entry = static_cast<const wchar_t*>(block); *entry != L'\0';
             entry += std::wcslen(entry) + 1) {
            if (std::wstring_view(entry).starts_with(Name)) {
                folder = entry + Name.size();
            }
        }
        ::DestroyEnvironmentBlock(block);
    }
    if (folder.empty()) {
        static_cast<void>(framework::ExpandEnvironmentString(L"%ALLUSERSPROFILE%", folder));
    }
    return folder;
}

bool HasAttribute(const std::wstring& path, bool folder) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) == folder;
}

bool RunsFrom(DWORD processId, const std::wstring& executable) {
    const framework::KernelHandle process(
        ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    std::wstring path(LongestPath, L'\0');
    DWORD size = static_cast<DWORD>(path.size());
    return process && ::QueryFullProcessImageNameW(process.Get(), 0, path.data(), &size) &&
           _wcsicmp(path.c_str(), executable.c_str()) == 0;
}

}  // namespace

Place FindPlace() {
    const std::wstring folder = OwnFolder();
    Place place;
    place.executable = folder + L"tarnwick-service.exe";
    place.controller = folder + L"orrin-ctrl.dll";
    place.messages = folder + L"tarnwick-messages.dll";
    place.dataParent = MachineDataFolder() + L"\\Velmora";
    place.data = place.dataParent + L"\\Quillon";
    place.logs = place.data + L"\\Logs";
    return place;
}

bool FileExists(const std::wstring& path) {
    return HasAttribute(path, false);
}

bool FolderExists(const std::wstring& path) {
    return HasAttribute(path, true);
}

std::wstring FileVersion(const std::wstring& path) {
    constexpr DWORD WordBits = 16;
    DWORD ignored = 0;
    std::vector<BYTE> block(::GetFileVersionInfoSizeW(path.c_str(), &ignored));
    VS_FIXEDFILEINFO* info = nullptr;
    UINT size = 0;
    if (block.empty() ||
        !::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
        !::VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &size)) {
        return {};
    }
    const auto pair = [](DWORD two) {
        return std::to_wstring(two >> WordBits) + L'.' + std::to_wstring(LOWORD(two));
    };
    return pair(info->dwFileVersionMS) + L'.' + pair(info->dwFileVersionLS);
}

std::wstring ProgramOf(const std::wstring& commandLine) {
    std::wstring program = commandLine;
    static_cast<void>(framework::ExpandEnvironmentString(commandLine, program));
    if (program.starts_with(L'"')) {
        return program.substr(1, program.find(L'"', 1) - 1);
    }
    constexpr std::wstring_view Ending = L".exe";
    for (std::size_t at = 0; at + Ending.size() <= program.size(); ++at) {
        if (_wcsnicmp(program.c_str() + at, Ending.data(), Ending.size()) == 0) {
            return program.substr(0, at + Ending.size());
        }
    }
    return program;
}

std::vector<DWORD> ProcessesOf(const std::wstring& executable) {
    constexpr std::size_t FirstCount = 1024;
    std::vector<DWORD> all(FirstCount);
    DWORD bytes = 0;
    while (::EnumProcesses(all.data(), static_cast<DWORD>(all.size() * sizeof(DWORD)), &bytes) &&
           bytes == all.size() * sizeof(DWORD)) {
        all.resize(all.size() * 2);
    }
    all.resize(bytes / sizeof(DWORD));
    std::erase_if(all, [&](DWORD id) { return !RunsFrom(id, executable); });
    return all;
}

bool IsElevated() {
    const framework::KernelHandle token = OwnToken();
    TOKEN_ELEVATION elevation = {};
    DWORD size = 0;
    return ::GetTokenInformation(token.Get(), TokenElevation, &elevation, sizeof(elevation),
                                 &size) &&
           elevation.TokenIsElevated != 0;
}

bool IsWine() {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace service_tool
