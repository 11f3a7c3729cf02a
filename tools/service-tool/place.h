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
/// The settings that the service reads, and their defaults.
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
    std::wstring dataParent;  ///< Velmora; other products may use it too
    std::wstring data;        ///< Quillon in `dataParent`, with the logs and the dump
    std::wstring logs;
};

/// The programs are those in the folder of this program. The data folder is that of a service
/// process: its ALLUSERSPROFILE comes from the environment that the system creates for services,
/// not from this process.
[[nodiscard]] Place FindPlace();

[[nodiscard]] bool FileExists(const std::wstring& path);
[[nodiscard]] bool FolderExists(const std::wstring& path);

/// "1.0.0.804" from the file's version resource; empty if it has none.
[[nodiscard]] std::wstring FileVersion(const std::wstring& path);

/// The program's path in a registered command line, with variables expanded. Without quotes it ends
/// at the first ".exe".
[[nodiscard]] std::wstring ProgramOf(const std::wstring& commandLine);

/// The ids of all processes that run this file.
[[nodiscard]] std::vector<DWORD> ProcessesOf(const std::wstring& executable);

/// Whether this process has administrator rights.
[[nodiscard]] bool IsElevated();

/// Whether this is Wine, whose file systems accept access rights but don't store them.
[[nodiscard]] bool IsWine();

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_PLACE_H
