#ifndef FRAMEWORK_SYSTEM_PATH_HELPERS_H
#define FRAMEWORK_SYSTEM_PATH_HELPERS_H

#include <string>

namespace framework {

/// Replaces environment variables between percent signs; unknown ones stay as they stand. Returns
/// false, without a log line and with `expanded` as it was, if the platform refuses. A text of any
/// length.
[[nodiscard]] bool ExpandEnvironmentString(const std::wstring& source, std::wstring& expanded);

/// The directory of the running executable without a trailing backslash, or the empty string if it
/// can't be told or the path has 512 characters or more. Logs nothing. Nothing in this program
/// calls it; it is part of the framework for those who build on it.
[[nodiscard]] std::wstring GetExecutableDirectory();

/// The part of `path` behind the last slash, backslash or colon: a pointer into `path`, or to an
/// empty text if `path` is null. Not called in this program either.
[[nodiscard]] const wchar_t* GetFileNamePart(const wchar_t* path);

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_PATH_HELPERS_H
