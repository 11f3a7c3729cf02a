#ifndef FRAMEWORK_SYSTEM_PATH_HELPERS_H
#define FRAMEWORK_SYSTEM_PATH_HELPERS_H

#include <string>

namespace framework {

/// Expands environment variables in percent signs; unknown ones stay unchanged. The text may have
/// any length. On failure returns false, logs nothing and leaves `expanded` unchanged.
[[nodiscard]] bool ExpandEnvironmentString(const std::wstring& source, std::wstring& expanded);

/// Returns the directory of the running executable without a trailing backslash. Returns an empty
/// string on failure, or if the path has 512 characters or more. Logs nothing.
[[nodiscard]] std::wstring GetExecutableDirectory();

/// Returns the part of `path` after the last slash, backslash or colon, as a pointer into `path`.
/// Null returns a pointer to an empty string.
[[nodiscard]] const wchar_t* GetFileNamePart(const wchar_t* path);

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_PATH_HELPERS_H
