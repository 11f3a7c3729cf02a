/// Making the log directory, and making sure that no link leads out of it.
///
/// A path is handled if its first component is a drive ("C:"); all others are left alone. Backslash
/// and slash both separate, and doubled, leading and trailing separators leave no trace. No call
/// keeps state or takes a lock.
#ifndef FRAMEWORK_LOGGER_LOG_DIRECTORY_H
#define FRAMEWORK_LOGGER_LOG_DIRECTORY_H

#include <string>
#include <string_view>
#include <vector>

namespace framework {

/// The components of `path`: what stands between the characters of `separators`, without empty
/// ones.
[[nodiscard]] std::vector<std::wstring> SplitPath(std::wstring_view path,
                                                  std::wstring_view separators);

/// The drive with the first directory, then each longer prefix up to the whole path, all with
/// single backslashes. Empty if the path doesn't begin with a drive, or is a drive alone.
[[nodiscard]] std::vector<std::wstring> PathPrefixes(std::wstring_view path);

/// Makes every directory of `path` that is missing. True if all exist now. A name that exists
/// already counts as a directory, whatever it is. Logs nothing.
[[nodiscard]] bool CreateDirectoryChain(const std::wstring& path);

/// Takes away every mount point and symbolic link on the way to `path` and at its end, the shortest
/// prefix first: the longer ones are then looked at in the real directory.
void RemoveLinksOnPath(const std::wstring& path);

/// The same for the end of `path` alone. What was tried is told on the debugger channel, a success
/// (code 0) too; a failure stops nothing.
void RemoveLinkAt(const std::wstring& path);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_DIRECTORY_H
