/// Reads a log folder by itself, without any code of the logger's.
#ifndef TESTS_END_TO_END_LOG_FILES_LOG_FOLDER_H
#define TESTS_END_TO_END_LOG_FILES_LOG_FOLDER_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace test {

struct LogFileContent {
    bool compressed = false;            ///< read from a .gz, which was whole
    bool hasMark = false;               ///< begins with the byte order mark
    bool endsWhole = true;              ///< ends in a line feed, or holds no record
    std::vector<std::wstring> records;  ///< lines without time, a cut last one left out

    /// Begins with the three records of a header.
    [[nodiscard]] bool HasHeader() const;
};

/// The files of one run by their numbers. Where a plain file and a compressed one stand side by
/// side, the plain one counts: the other may be unfinished. Throws if a name, a line or a
/// compressed file isn't as it has to be.
[[nodiscard]] std::map<unsigned, LogFileContent> ReadLogFolder(const std::filesystem::path& folder);

}  // namespace test

#endif  // TESTS_END_TO_END_LOG_FILES_LOG_FOLDER_H
