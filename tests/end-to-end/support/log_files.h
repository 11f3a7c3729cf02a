/// Reading the host's log files back, closed and compressed or still open.
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

/// All bytes of a log file, unpacked if it is compressed. Throws if it can't be read.
[[nodiscard]] std::string ReadLogBytes(const std::filesystem::path& file);

/// The text of a log file without its byte order mark, which must be there.
[[nodiscard]] std::wstring ReadLogFileText(const std::filesystem::path& file);

/// The records of a log file, each without its time and line feed: "[T][quillon] text". The two
/// header records that tell the date get a 0 for each digit.
[[nodiscard]] std::vector<std::wstring> ReadLogRecords(const std::filesystem::path& file);

/// Waits until the last of the files that `list` gives holds the record `count` times. False after
/// the limit.
[[nodiscard]] bool WaitForRecord(const std::function<std::vector<std::filesystem::path>()>& list,
                                 const std::wstring& record, std::ptrdiff_t count = 1);
/// The same for the newest log file of a folder.
[[nodiscard]] bool WaitForRecord(const std::filesystem::path& folder, const std::wstring& record,
                                 std::ptrdiff_t count = 1);

/// The log files that services have written since this program began and whose header names this
/// executable, oldest first. A service may have another machine-wide data folder than the test.
[[nodiscard]] std::vector<std::filesystem::path> ServiceLogsOf(
    const std::filesystem::path& executable);

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_LOG_FILES_H
