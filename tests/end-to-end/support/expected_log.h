/// Whole expected logs: the common lines are here, the tests supply the rest.
#ifndef TESTS_END_TO_END_SUPPORT_EXPECTED_LOG_H
#define TESTS_END_TO_END_SUPPORT_EXPECTED_LOG_H

#include <filesystem>
#include <string>
#include <vector>

#include "framework/system/platform.h"

namespace test {

using Records = std::vector<std::wstring>;

/// A record in the form of the log, without its time: "[T][quillon] text".
[[nodiscard]] std::wstring T(const std::wstring& text);
[[nodiscard]] std::wstring W(const std::wstring& text);
[[nodiscard]] std::wstring E(const std::wstring& text);

/// The three header records, and the filter's line that always follows them.
[[nodiscard]] Records Header(DWORD processId, const std::filesystem::path& executable);

/// "Start paramers cnt" and one line per argument, the executable's path first.
[[nodiscard]] Records Parameters(const Records& arguments);

/// The two records of an orderly end.
[[nodiscard]] Records OrderlyEnd();

[[nodiscard]] Records Join(std::initializer_list<Records> parts);

/// The log of a complete orderly run: header, parameters, `body`, end.
[[nodiscard]] Records WholeLog(DWORD processId, const std::filesystem::path& executable,
                               const Records& arguments, const Records& body);

/// The line of a status report.
[[nodiscard]] std::wstring StatusText(const wchar_t* state, DWORD exitCode, DWORD waitHint,
                                      DWORD accepted, DWORD checkpoint);

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_EXPECTED_LOG_H
