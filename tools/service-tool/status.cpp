#include "tools/service-tool/status.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <optional>
#include <ratio>
#include <string>

#include "framework/system/unique_handle.h"
#include "tools/quillon-log/folder.h"
#include "tools/service-tool/report.h"
#include "tools/service-tool/service.h"

namespace service_tool {
namespace {

using quillon_log::Folder;
using quillon_log::LogFile;
using quillon_log::TimePoint;

constexpr std::uint64_t TicksOfSecond = 10000000;  // of a FILETIME

std::uint64_t Ticks(const FILETIME& time) {
    ULARGE_INTEGER ticks;
    ticks.LowPart = time.dwLowDateTime;
    ticks.HighPart = time.dwHighDateTime;
    return ticks.QuadPart;
}

std::uint64_t Now() {
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    return Ticks(now);
}

std::wstring TimeText(const SYSTEMTIME& time) {
    std::array<wchar_t, 64> text{};
    std::swprintf(text.data(), text.size(), L"%04u-%02u-%02u %02u:%02u:%02u UTC",
                  unsigned{time.wYear}, unsigned{time.wMonth}, unsigned{time.wDay},
                  unsigned{time.wHour}, unsigned{time.wMinute}, unsigned{time.wSecond});
    return text.data();
}

std::wstring AgeText(std::uint64_t ticks) {
    constexpr std::uint64_t Minute = 60;
    constexpr std::uint64_t Hour = 60 * Minute;
    constexpr std::uint64_t Day = 24 * Hour;
    const std::uint64_t now = Now();
    const std::uint64_t seconds = now > ticks ? (now - ticks) / TicksOfSecond : 0;
    if (seconds < 2 * Minute) {
        return std::to_wstring(seconds) + L" s ago";
    }
    if (seconds < 2 * Hour) {
        return std::to_wstring(seconds / Minute) + L" min ago";
    }
    return seconds < 2 * Day ? std::to_wstring(seconds / Hour) + L" h ago"
                             : std::to_wstring(seconds / Day) + L" days ago";
}

std::wstring TimeText(const FILETIME& time) {
    SYSTEMTIME parts = {};
    ::FileTimeToSystemTime(&time, &parts);
    return TimeText(parts) + L" (" + AgeText(Ticks(time)) + L")";
}

FILETIME ToFileTime(TimePoint point) {
    using Ticks100ns = std::chrono::duration<std::uint64_t, std::ratio<1, TicksOfSecond>>;
    constexpr TimePoint Epoch = std::chrono::sys_days{std::chrono::January / 1 / 1601};
    ULARGE_INTEGER ticks;
    ticks.QuadPart = std::chrono::duration_cast<Ticks100ns>(point - Epoch).count();
    return {ticks.LowPart, ticks.HighPart};
}

std::wstring SizeText(std::uint64_t bytes) {
    constexpr std::array<const wchar_t*, 4> Units = {L"KiB", L"MiB", L"GiB", L"TiB"};
    double size = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    while (size >= 1024 && unit + 1 < Units.size()) {
        size /= 1024;
        ++unit;
    }
    std::array<wchar_t, 64> text{};
    std::swprintf(text.data(), text.size(), L"%.1f ", size);
    return std::wstring(text.data()) + Units[unit];
}

std::optional<FILETIME> ProcessStart(DWORD processId) {
    const framework::KernelHandle process(
        ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    FILETIME start = {};
    FILETIME ignored = {};
    if (!process || !::GetProcessTimes(process.Get(), &start, &ignored, &ignored, &ignored)) {
        return std::nullopt;
    }
    return start;
}

std::optional<WIN32_FILE_ATTRIBUTE_DATA> FileData(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (path.empty() || !::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
        return std::nullopt;
    }
    return data;
}

/// The last log that belongs to a run before `limit`; every run of the executable has one.
const LogFile* LastLogBefore(const Folder& logs, TimePoint limit) {
    const LogFile* last = nullptr;
    for (const LogFile& log : logs.Files()) {
        if (log.run.start < limit) {
            last = &log;
        }
    }
    return last;
}

std::wstring ExitText(const SERVICE_STATUS_PROCESS& status) {
    if (status.dwWin32ExitCode == ERROR_SERVICE_SPECIFIC_ERROR) {
        return L"exit code " + std::to_wstring(status.dwServiceSpecificExitCode) +
               L" of the service's own";
    }
    if (status.dwWin32ExitCode == ERROR_SERVICE_NEVER_STARTED) {
        return L"exit code unknown: not started since the system started";
    }
    return status.dwWin32ExitCode == 0 ? L"exit code 0"
                                       : L"exit code " + ErrorText(status.dwWin32ExitCode);
}

void PrintRuns(const Place& place, const std::optional<SERVICE_STATUS_PROCESS>& status) {
    Folder logs(place.logs);
    // A folder that can't be read has no logs to show.
    static_cast<void>(logs.Refresh());
    const bool runs = status && status->dwProcessId != 0;
    const std::optional<FILETIME> start = runs ? ProcessStart(status->dwProcessId) : std::nullopt;
    const TimePoint limit =
        start ? quillon_log::FromFileTime(start->dwLowDateTime, start->dwHighDateTime)
              : TimePoint::max();
    const LogFile* const last = LastLogBefore(logs, limit);
    if (start) {
        PrintFact(L"last start", TimeText(*start));
    } else if (last != nullptr) {
        PrintFact(L"last start", TimeText(ToFileTime(last->run.start)) + L", by the newest log");
    } else {
        PrintFact(L"last start", L"none known");
    }
    std::wstring end = L"none known";
    if (last != nullptr && (start || !runs)) {
        const auto data = FileData(last->plain ? logs.PlainPath(last->run, last->number)
                                               : logs.CompressedPath(last->run, last->number));
        end = data ? TimeText(data->ftLastWriteTime) + L", by the newest log" : end;
    }
    PrintFact(L"last end", status && !runs ? end + L"; " + ExitText(*status) : end);
}

void PrintNewestDump(const Place& place) {
    WIN32_FIND_DATAW found = {};
    const HANDLE search = ::FindFirstFileW((place.data + L"\\*.dmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return PrintFact(L"newest dump", L"none");
    }
    WIN32_FIND_DATAW newest = found;
    while (::FindNextFileW(search, &found)) {
        if (Ticks(found.ftLastWriteTime) > Ticks(newest.ftLastWriteTime)) {
            newest = found;
        }
    }
    ::FindClose(search);
    ULARGE_INTEGER size;
    size.LowPart = newest.nFileSizeLow;
    size.HighPart = newest.nFileSizeHigh;
    PrintFact(L"newest dump", place.data + L'\\' + newest.cFileName + L", " +
                                  SizeText(size.QuadPart) + L", " +
                                  TimeText(newest.ftLastWriteTime));
}

void PrintFreeSpace(const Place& place) {
    // The folder may not exist yet, but its drive does.
    std::array<wchar_t, MAX_PATH> volume{};
    ULARGE_INTEGER available = {};
    if (!::GetVolumePathNameW(place.data.c_str(), volume.data(),
                              static_cast<DWORD>(volume.size())) ||
        !::GetDiskFreeSpaceExW(volume.data(), &available, nullptr, nullptr)) {
        return PrintFact(L"free space", L"unknown: " + ErrorText(::GetLastError()));
    }
    PrintFact(L"free space",
              SizeText(available.QuadPart) + L" on " + volume.data() + L", the drive of the logs");
}

}  // namespace

void PrintStatus(const Place& place) {
    const std::wstring version = FileVersion(place.executable);
    PrintFact(L"version", version.empty() ? L"unknown" : version);
    const auto status = ReadStatus();
    PrintFact(L"state", status ? StateName(status->dwCurrentState) : L"not registered");
    if (status && status->dwProcessId != 0) {
        PrintFact(L"process", std::to_wstring(status->dwProcessId));
    }
    PrintRuns(place, status);
    PrintNewestDump(place);
    PrintFreeSpace(place);
}

}  // namespace service_tool
