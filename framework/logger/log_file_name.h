/// Names of log files, as functions of their parts.
#ifndef FRAMEWORK_LOGGER_LOG_FILE_NAME_H
#define FRAMEWORK_LOGGER_LOG_FILE_NAME_H

#include <cstdint>
#include <string>

#include "framework/system/platform.h"

namespace framework {

/// The full path of a run's log files with the word "LOGID" where the number will stand, or the
/// empty string if it has more than 260 characters. `startTime` is in UTC.
[[nodiscard]] std::wstring MakeNameTemplate(const std::wstring& directory,
                                            const std::wstring& prefix,
                                            const SYSTEMTIME& startTime);

/// The template with `number` in place of the word "LOGID": of every such word in the whole path,
/// also in the directory or the prefix.
[[nodiscard]] std::wstring MakeFileName(const std::wstring& nameTemplate, std::uint32_t number);

/// Patterns of all log files, whoever wrote them. Defined in the source file: the compiler would
/// take a short text apart, and the executable holds each in one piece.
extern const wchar_t PlainLogPattern[];
extern const wchar_t CompressedLogPattern[];

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_FILE_NAME_H
