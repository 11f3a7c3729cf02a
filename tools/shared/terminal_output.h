/// What a program says: text for a console as it is, UTF-8 for everything else.
#ifndef TOOLS_SHARED_TERMINAL_OUTPUT_H
#define TOOLS_SHARED_TERMINAL_OUTPUT_H

#include <string_view>

namespace tools {

enum class ColorChoice { WhenTerminal, Always, Never };

/// Whether standard output is to be coloured. Asks the terminal, which from then on understands
/// colours, only if the choice depends on it; the environment's NO_COLOR speaks against it then.
[[nodiscard]] bool WantsColor(ColorChoice choice);

/// False if nobody reads any more.
bool WriteOutput(std::wstring_view text);

/// Bytes to standard output as they are. False if nobody reads any more.
bool WriteOutputBytes(std::string_view bytes);

/// Text to standard error as it is.
void WriteErrorText(std::wstring_view text);

/// One line to standard error, after the program's name.
void WriteError(std::wstring_view program, std::wstring_view text);

}  // namespace tools

#endif  // TOOLS_SHARED_TERMINAL_OUTPUT_H
