#include "framework/logger/log_retention.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "framework/logger/internal_trace.h"

namespace framework {
namespace {

constexpr std::uint64_t TicksOfADay = 864000000000;

std::uint64_t Join(std::uint32_t high, std::uint32_t low) noexcept {
    return (static_cast<std::uint64_t>(high) << 32) | low;
}

LogFileEntry MakeEntry(const std::wstring& directory, const WIN32_FIND_DATAW& found) {
    return {directory + found.cFileName, Join(found.nFileSizeHigh, found.nFileSizeLow),
            Join(found.ftCreationTime.dwHighDateTime, found.ftCreationTime.dwLowDateTime)};
}

/// Closes a search, also if there is no memory for what it finds. A failed search has the invalid
/// handle, and closing that one does nothing.
class FileSearch {
  public:
    explicit FileSearch(HANDLE handle) noexcept : Handle(handle) {}
    ~FileSearch() { ::FindClose(Handle); }
    FileSearch(const FileSearch&) = delete;
    FileSearch& operator=(const FileSearch&) = delete;

  private:
    HANDLE Handle;
};

}  // namespace

LogRetention::LogRetention(LogRetentionParams params) : Params(std::move(params)) {}

void LogRetention::Execute() {
    try {
        SYSTEMTIME now = {};
        ::GetSystemTime(&now);
        CurrentTime = ToFileTime(now);
        const LogFileList all = GetLogFiles();
        DeleteFiles(SelectExpired(all, Params.ExpiredPeriodInDays));
        // An expired file doesn't count towards the size limit, even if its deletion failed.
        const LogFileList young = SelectNotExpired(all, Params.ExpiredPeriodInDays);
        DeleteFiles(SelectOverBudget(young, Params.MaxTotalSize));
    } catch (const std::exception&) {
        ReportFailedPass();
    }
}

LogFileList LogRetention::GetLogFiles() const {
    LogFileList list;
    WIN32_FIND_DATAW found = {};
    const std::wstring search = Params.Directory + Params.Pattern;
    const HANDLE handle = ::FindFirstFileW(search.c_str(), &found);
    DWORD error = ::GetLastError();
    if (handle == INVALID_HANDLE_VALUE) {
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
            return list;
        }
        // Continues in spite of the failure, which is meant: the zeroed result becomes one entry
        // that names the directory, and the next step fails and logs the second line.
        InternalTrace(LevelError.Bit, L"Failed to acquire the log files");
    }
    {
        const FileSearch files(handle);
        do {
            list.push_back(MakeEntry(Params.Directory, found));
        } while (::FindNextFileW(handle, &found) != FALSE);
        error = ::GetLastError();
    }
    if (error != ERROR_NO_MORE_FILES) {
        InternalTrace(LevelError.Bit, L"Continues the file search failed");
    }
    return list;
}

void LogRetention::DeleteFiles(const LogFileList& list) {
    for (const LogFileEntry& entry : list) {
        ::DeleteFileW(entry.Path.c_str());
    }
}

bool LogRetention::IsExpired(const LogFileEntry& entry, std::uint64_t now,
                             std::uint32_t days) noexcept {
    return now >= entry.CreationTime && (now - entry.CreationTime) / TicksOfADay >= days;
}

LogFileList LogRetention::SelectExpired(const LogFileList& list, std::uint32_t days) const {
    LogFileList expired;
    std::copy_if(list.begin(), list.end(), std::back_inserter(expired),
                 [&](const LogFileEntry& entry) { return IsExpired(entry, CurrentTime, days); });
    return expired;
}

LogFileList LogRetention::SelectNotExpired(const LogFileList& list, std::uint32_t days) const {
    LogFileList young;
    std::copy_if(list.begin(), list.end(), std::back_inserter(young),
                 [&](const LogFileEntry& entry) { return !IsExpired(entry, CurrentTime, days); });
    return young;
}

LogFileList LogRetention::SelectOverBudget(const LogFileList& list, std::uint32_t limit) {
    std::vector<const LogFileEntry*> newestFirst;
    newestFirst.reserve(list.size());
    std::transform(list.begin(), list.end(), std::back_inserter(newestFirst),
                   [](const LogFileEntry& entry) { return &entry; });
    // Ties are broken by the position in the list. std::stable_sort would need a call that the
    // library has deprecated.
    std::sort(newestFirst.begin(), newestFirst.end(),
              [](const LogFileEntry* left, const LogFileEntry* right) {
                  return left->CreationTime != right->CreationTime
                             ? left->CreationTime > right->CreationTime
                             : left > right;
              });
    LogFileList excess;
    std::uint64_t total = 0;
    for (const LogFileEntry* const entry : newestFirst) {
        total += entry->Size;
        if (total >= limit) {
            excess.push_back(*entry);
        }
    }
    return excess;
}

std::uint64_t LogRetention::ToFileTime(const SYSTEMTIME& systemTime) {
    FILETIME fileTime = {};
    if (::SystemTimeToFileTime(&systemTime, &fileTime) == FALSE) {
        InternalTrace(LevelError.Bit, L"Failed to convert to FILETIME");
        return 0;
    }
    return Join(fileTime.dwHighDateTime, fileTime.dwLowDateTime);
}

void ReportFailedPass() noexcept {
    try {
        InternalTrace(LevelError.Bit, L"Error: LogRetention::Execute");
    } catch (const std::exception&) {
        // Without memory the line is lost, like any other.
    }
}

void RunLogRetention(LogRetentionParams params) {
    LogRetention(std::move(params)).Execute();
}

}  // namespace framework
