#ifndef TOOLS_SERVICE_TOOL_REPORT_H
#define TOOLS_SERVICE_TOOL_REPORT_H

#include <string>
#include <string_view>

namespace service_tool {

enum ExitCode : int { ExitSuccess = 0, ExitFailure = 1, ExitUsage = 2 };

/// Prints one line. A failed write is ignored.
void Print(std::wstring_view line);

/// "  made      text": a word in its own column, then the text.
void PrintStep(std::wstring_view word, std::wstring_view text);

/// A second line below a step.
void PrintUnderStep(std::wstring_view text);

/// "state        RUNNING", indented.
void PrintFact(std::wstring_view name, std::wstring_view value);

/// Without administrator rights prints what to do and returns false.
[[nodiscard]] bool RequireElevation();

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_REPORT_H
