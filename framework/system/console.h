#ifndef FRAMEWORK_SYSTEM_CONSOLE_H
#define FRAMEWORK_SYSTEM_CONSOLE_H

#include <string>
#include <string_view>

#include "framework/system/wide_format.h"

namespace framework {

/// The text as UTF-8; a surrogate without its other half becomes the replacement character.
[[nodiscard]] std::string ToUtf8(std::wstring_view text);

/// Writes a text to standard output: as UTF-16 to a console, as UTF-8 to anything else, each line
/// feed as carriage return and line feed. Nothing is buffered, so that no text is lost when the
/// process is ended. Any thread; a failure is ignored, as there is nobody left to tell.
void WriteToConsole(std::wstring_view text);

/// The untyped half of `ConsolePrint`.
void ConsolePrintUnchecked(const wchar_t* format, ...);

/// Formatted wide print to standard output, by `WriteToConsole`.
template <class... Args>
void ConsolePrint(FormatFor<Args...> format, Args... args) {
    ConsolePrintUnchecked(format.Text(), args...);
}

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_CONSOLE_H
