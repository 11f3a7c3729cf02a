#ifndef TOOLS_CONTROLLER_CHECK_OUTPUT_H
#define TOOLS_CONTROLLER_CHECK_OUTPUT_H

#include <string>

namespace controller_check {

/// One line to standard error, as UTF-8, after the program's name.
void WriteError(const std::wstring& text);

/// Whether standard output is a terminal that understands colours.
[[nodiscard]] bool OutputHasColor();

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_OUTPUT_H
