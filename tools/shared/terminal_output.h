/// Output of a program: UTF-16 to a console, UTF-8 otherwise.
#ifndef TOOLS_SHARED_TERMINAL_OUTPUT_H
#define TOOLS_SHARED_TERMINAL_OUTPUT_H

#include <string_view>

namespace tools {

enum class ColorChoice { WhenTerminal, Always, Never };

/// Whether to colour standard output. With `WhenTerminal`, checks for a terminal, enables its
/// colours and honours the environment variable NO_COLOR.
[[nodiscard]] bool WantsColor(ColorChoice choice);

/// False if the reader is gone.
bool WriteOutput(std::wstring_view text);

/// Writes bytes unchanged. False if the reader is gone.
bool WriteOutputBytes(std::string_view bytes);

/// Writes text to standard error.
void WriteErrorText(std::wstring_view text);

/// Writes one line to standard error: the program's name and `text`.
void WriteError(std::wstring_view program, std::wstring_view text);

}  // namespace tools

#endif  // TOOLS_SHARED_TERMINAL_OUTPUT_H
