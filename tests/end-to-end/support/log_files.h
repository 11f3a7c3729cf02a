/// Reads the host's log files, closed and compressed or still open.
#ifndef TESTS_END_TO_END_SUPPORT_LOG_FILES_H
#define TESTS_END_TO_END_SUPPORT_LOG_FILES_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace test {

/// The log files of a folder, `.log` and `.log.gz`, sorted by name; none if there is no folder.
[[nodiscard]] std::vector<std::filesystem::path> LogFilesIn(const std::filesystem::path& folder);

/// All bytes of a log file, decompressed if necessary. Throws if it can't be read.
[[nodiscard]] std::string ReadLogBytes(const std::filesystem::path& file);

/// The text of a log file without its byte order mark, which must be there.
[[nodiscard]] std::wstring ReadLogFileText(const std::filesystem::path& file);

/// The records of a log file, each without its time and line feed: "[T][quillon] text". In the two
/// header records with the date each digit is 0.
[[nodiscard]] std::vector<std::wstring> ReadLogRecords(const std::filesystem::path& file);

/// Waits until the last of the files of `list` contains the record `count` times. False after the
/// limit.
[[nodiscard]] bool WaitForRecord(const std::function<std::vector<std::filesystem::path>()>& list,
                                 const std::wstring& record, std::ptrdiff_t count = 1);
/// The same for the newest log file of a folder.
[[nodiscard]] bool WaitForRecord(const std::filesystem::path& folder, const std::wstring& record,
                                 std::ptrdiff_t count = 1);

/// The log files that services have written since this program started and whose header names this
/// executable, oldest first. A service may use another machine-wide data folder than the test.
[[nodiscard]] std::vector<std::filesystem::path> ServiceLogsOf(
    const std::filesystem::path& executable);

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_LOG_FILES_H
