#include "tools/quillon-log/folder.h"

#include <filesystem>
#include <system_error>

namespace quillon_log {

std::optional<LogFolder> ListLogs(const std::wstring& folder) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    if (error) {
        return std::nullopt;
    }
    LogFolder logs;
    for (; entry != std::filesystem::directory_iterator() && !error; entry.increment(error)) {
        const std::wstring fileName = entry->path().filename().wstring();
        std::error_code ignored;
        const std::optional<ParsedName> parsed = ParseLogName(fileName);
        if (!parsed || entry->is_directory(ignored)) {
            continue;
        }
        LogLocation& location = logs[parsed->name];
        (parsed->compressed ? location.compressed : location.plain) = entry->path().wstring();
    }
    return logs;
}

}  // namespace quillon_log
