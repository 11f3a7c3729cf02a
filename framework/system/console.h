#ifndef FRAMEWORK_SYSTEM_CONSOLE_H
#define FRAMEWORK_SYSTEM_CONSOLE_H

#include <string>
#include <string_view>

#include "framework/system/wide_format.h"

namespace framework {

/// Converts to UTF-8. An unpaired surrogate becomes U+FFFD, the replacement character.
[[nodiscard]] std::string ToUtf8(std::wstring_view text);

/// Writes `text` to standard output: UTF-16 to a console, UTF-8 otherwise, each line feed as
/// carriage return and line feed. Unbuffered, so nothing is lost if the process is terminated.
/// Thread-safe. A failure is ignored.
void WriteToConsole(std::wstring_view text);

/// `ConsolePrint` without the compile-time check of `format` against the arguments.
void ConsolePrintUnchecked(const wchar_t* format, ...);

/// Formats and prints to standard output with `WriteToConsole`.
template <class... Args>
void ConsolePrint(FormatFor<Args...> format, Args... args) {
    ConsolePrintUnchecked(format.Text(), args...);
}

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_CONSOLE_H
