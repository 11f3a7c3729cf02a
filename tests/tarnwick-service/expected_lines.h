/// Log lines in the form of `LogCapture`.
#ifndef TESTS_TARNWICK_SERVICE_EXPECTED_LINES_H
#define TESTS_TARNWICK_SERVICE_EXPECTED_LINES_H

#include <string>
#include <vector>

#include "tests/tarnwick-service/status_recorder.h"

namespace test {

using Lines = std::vector<std::wstring>;

inline std::wstring ErrorLine(const std::wstring& text) {
    return L"[E][quillon] " + text;
}

inline std::wstring WarningLine(const std::wstring& text) {
    return L"[W][quillon] " + text;
}

inline std::wstring TraceLine(const std::wstring& text) {
    return L"[T][quillon] " + text;
}

/// The fields of a report, as both of its log lines print them.
inline std::wstring StatusText(const std::wstring& stateName, const ExpectedReport& report) {
    return L"WindowsServiceBase->SetServiceStatus: dwCurrentState = " + stateName +
           L", dwWin32ExitCode = " + std::to_wstring(report.exitCode) + L", dwWaitHint = " +
           std::to_wstring(report.waitHint) + L", dwControlsAccepted = " +
           std::to_wstring(report.accepted) + L", dwCheckPoint = " +
           std::to_wstring(report.checkPoint);
}

/// The line of every report.
inline std::wstring StatusLine(const std::wstring& stateName, const ExpectedReport& report) {
    return TraceLine(StatusText(stateName, report) + L" ");
}

/// The line before it if the report failed.
inline std::wstring FailedStatusLine(const std::wstring& stateName, const ExpectedReport& report,
                                     DWORD error) {
    return ErrorLine(StatusText(stateName, report) + L" failed with error " +
                     std::to_wstring(error) + L" ");
}

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_EXPECTED_LINES_H
