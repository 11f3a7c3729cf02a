#ifndef TOOLS_SERVICE_TOOL_REPORT_H
#define TOOLS_SERVICE_TOOL_REPORT_H

#include <string>
#include <string_view>

namespace service_tool {

enum ExitCode : int { ExitSuccess = 0, ExitFailure = 1, ExitUsage = 2 };

/// Prints one line. Nobody may be reading; the work goes on all the same.
void Print(std::wstring_view line);

/// "  made      text": a word in a column of its own, then the text.
void PrintStep(std::wstring_view word, std::wstring_view text);

/// A second line under a step.
void PrintUnderStep(std::wstring_view text);

/// "state        RUNNING", indented.
void PrintFact(std::wstring_view name, std::wstring_view value);

/// False, with a line that says what to do, unless this process may change the system.
[[nodiscard]] bool RequireElevation();

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_REPORT_H
