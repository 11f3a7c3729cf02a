#ifndef TESTS_TARNWICK_SERVICE_STATUS_RECORDER_H
#define TESTS_TARNWICK_SERVICE_STATUS_RECORDER_H

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "framework/system/locks.h"
#include "tests/support/platform_hooks.h"

namespace test {

/// The expected variable fields of a report.
struct ExpectedReport {
    DWORD state;
    DWORD exitCode;
    DWORD waitHint;
    DWORD checkPoint;
    DWORD accepted;
};

/// A report as text of a failure message: all seven fields.
[[nodiscard]] std::string Describe(const SERVICE_STATUS& status);
/// The same for an expectation; the service type is 16, the service-specific exit code 0.
[[nodiscard]] std::string Describe(const ExpectedReport& report);
[[nodiscard]] std::vector<std::string> Describe(const std::vector<ExpectedReport>& reports);

/// Replaces the Service Control Manager's side of `SetServiceStatus`: records every report and
/// accepts it, or fails it with an error.
class StatusRecorder {
  public:
    StatusRecorder();

    /// All further reports fail with `error`; 0 accepts them again.
    void FailWith(DWORD error) { error_ = error; }
    /// Called inside each report, after it has been recorded. Set before the first thread.
    void OnReport(std::function<void(const SERVICE_STATUS&)> action) {
        onReport_ = std::move(action);
    }

    [[nodiscard]] std::vector<std::string> Reports() const;
    [[nodiscard]] std::vector<SERVICE_STATUS_HANDLE> Handles() const;
    [[nodiscard]] SERVICE_STATUS Last() const;
    void Clear();

  private:
    BOOL Take(SERVICE_STATUS_HANDLE handle, const SERVICE_STATUS& status);

    mutable framework::SrwLock lock_;
    // Guarded by lock_.
    std::vector<SERVICE_STATUS> reports_;
    std::vector<SERVICE_STATUS_HANDLE> handles_;

    std::atomic<DWORD> error_{0};
    std::function<void(const SERVICE_STATUS&)> onReport_;
    ScopedHook<SetServiceStatusHook> hook_;
};

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_STATUS_RECORDER_H
