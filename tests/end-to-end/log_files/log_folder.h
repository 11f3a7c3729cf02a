/// Reads a log folder independently of the logger's code.
#ifndef TESTS_END_TO_END_LOG_FILES_LOG_FOLDER_H
#define TESTS_END_TO_END_LOG_FILES_LOG_FOLDER_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace test {

struct LogFileContent {
    bool compressed = false;            ///< read from a complete .gz
    bool hasMark = false;               ///< begins with the byte order mark
    bool endsWhole = true;              ///< ends in a line feed, or has no record
    std::vector<std::wstring> records;  ///< lines without time, except an incomplete last one

    /// Starts with the three records of a header.
    [[nodiscard]] bool HasHeader() const;
};

/// The files of one run by their numbers. If a file exists both plain and compressed, the plain one
/// counts, because the other may be incomplete. Throws if a name, a line or a compressed file is
/// invalid.
[[nodiscard]] std::map<unsigned, LogFileContent> ReadLogFolder(const std::filesystem::path& folder);

}  // namespace test

#endif  // TESTS_END_TO_END_LOG_FILES_LOG_FOLDER_H
