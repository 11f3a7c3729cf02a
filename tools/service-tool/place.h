#ifndef TOOLS_SERVICE_TOOL_PLACE_H
#define TOOLS_SERVICE_TOOL_PLACE_H

#include <array>
#include <string>
#include <vector>

#include "framework/system/platform.h"

namespace service_tool {

constexpr const wchar_t* ServiceName = L"VelmoraTarnwickService";
constexpr const wchar_t* DisplayName = L"Velmora Tarnwick Service";
constexpr const wchar_t* Description =
    L"Keeps the components of the Tarnwick controller library alive.";
constexpr const wchar_t* ServiceKey =
    L"SYSTEM\\CurrentControlSet\\Services\\VelmoraTarnwickService";
constexpr const wchar_t* EventSourceKey =
    L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\VelmoraTarnwickService";

struct Setting {
    const wchar_t* name;
    DWORD defaultValue;
};
/// The settings that the service reads, with the values that it assumes without them.
constexpr std::array<Setting, 5> Settings = {{{L"TraceLevelsMask", 7},
                                              {L"ExpiredPeriodInDays", 70},
                                              {L"MaxLogFilesSize", 26214400},
                                              {L"DisableLogRetention", 0},
                                              {L"DumpType", 0}}};

/// The paths of one installation.
struct Place {
    std::wstring executable;
    std::wstring controller;
    std::wstring messages;
    std::wstring dataParent;  ///< Velmora, which other products may use too
    std::wstring data;        ///< Quillon in it, with the logs and the dump
    std::wstring logs;
};

/// The programs are those in the folder of this program. The data folder is the one that a service
/// started now would use: its ALLUSERSPROFILE is taken from the environment that the system makes
/// for a service process, not from this process's own.
[[nodiscard]] Place FindPlace();

[[nodiscard]] bool FileExists(const std::wstring& path);
[[nodiscard]] bool FolderExists(const std::wstring& path);

/// "1.0.0.804" from the file's version resource, or the empty string.
[[nodiscard]] std::wstring FileVersion(const std::wstring& path);

/// The path of the program that a registered command line starts, with variables expanded. Without
/// quotes the program ends with the first ".exe".
[[nodiscard]] std::wstring ProgramOf(const std::wstring& commandLine);

/// Process ids of what runs from this file.
[[nodiscard]] std::vector<DWORD> ProcessesOf(const std::wstring& executable);

/// Whether this process may change the system.
[[nodiscard]] bool IsElevated();

/// Whether the platform is Wine, whose file systems accept access rights and don't store them.
[[nodiscard]] bool IsWine();

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_PLACE_H
