/// Creates the log directory and removes links on the way to it, so that no log is written
/// elsewhere.
///
/// Only paths that begin with a drive ("C:") are handled; others are ignored. Backslash and slash
/// both separate components; repeated, leading and trailing separators are ignored. Thread-safe,
/// without state or locks.
#ifndef FRAMEWORK_LOGGER_LOG_DIRECTORY_H
#define FRAMEWORK_LOGGER_LOG_DIRECTORY_H

#include <string>
#include <string_view>
#include <vector>

namespace framework {

/// Splits `path` at each character of `separators`; drops empty components.
[[nodiscard]] std::vector<std::wstring> SplitPath(std::wstring_view path,
                                                  std::wstring_view separators);

/// All prefixes of `path`, from the drive and first directory to the whole path, with single
/// backslashes. Empty if the path doesn't begin with a drive or is only a drive.
[[nodiscard]] std::vector<std::wstring> PathPrefixes(std::wstring_view path);

/// Creates the missing directories of `path`. Returns true if all exist. Any existing name, even a
/// file, counts as a directory. Logs nothing.
[[nodiscard]] bool CreateDirectoryChain(const std::wstring& path);

/// Removes every mount point and symbolic link in `path`, including its last component. Starts with
/// the shortest prefix, so that longer ones are resolved in the real directory.
void RemoveLinksOnPath(const std::wstring& path);

/// As `RemoveLinksOnPath`, for the last component only. Reports each attempt, successful or not, to
/// the debugger channel; a failure is otherwise ignored.
void RemoveLinkAt(const std::wstring& path);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_DIRECTORY_H
