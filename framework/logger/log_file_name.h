/// Names of log files.
#ifndef FRAMEWORK_LOGGER_LOG_FILE_NAME_H
#define FRAMEWORK_LOGGER_LOG_FILE_NAME_H

#include <cstdint>
#include <string>

#include "framework/system/platform.h"

namespace framework {

/// The full path of a run's log files, with the word "LOGID" in place of the number. Empty if it
/// has more than 260 characters. `startTime` is in UTC.
[[nodiscard]] std::wstring MakeNameTemplate(const std::wstring& directory,
                                            const std::wstring& prefix,
                                            const SYSTEMTIME& startTime);

/// Replaces every "LOGID" in the template by `number`, including in the directory and the prefix.
[[nodiscard]] std::wstring MakeFileName(const std::wstring& nameTemplate, std::uint32_t number);

/// Patterns that match all log files, whichever program wrote them. Defined in the source file so
/// that the executable contains each as one string: the compiler would inline a short literal.
extern const wchar_t PlainLogPattern[];
extern const wchar_t CompressedLogPattern[];

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_FILE_NAME_H
