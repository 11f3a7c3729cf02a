#ifndef TOOLS_QUILLON_LOG_PROBLEM_REPORT_H
#define TOOLS_QUILLON_LOG_PROBLEM_REPORT_H

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>

#include "tools/quillon-log/problem.h"

namespace quillon_log {

/// Reports problems on standard error, if they concern the time that is asked for.
class ProblemReport {
  public:
    ProblemReport(bool json, std::optional<TimePoint> since, std::optional<TimePoint> until)
        : json_(json),
          since_(since.value_or(TimePoint::min())),
          until_(until.value_or(TimePoint::max())) {}
    ProblemReport(const ProblemReport&) = delete;
    ProblemReport& operator=(const ProblemReport&) = delete;

    void Report(const Problem& problem);
    /// A sink that is valid for as long as this object.
    [[nodiscard]] ProblemSink Sink() {
        return [this](const Problem& problem) { Report(problem); };
    }
    /// What is only missing before this time is not reported.
    void SetSince(TimePoint since) { since_ = std::max(since_, since); }
    [[nodiscard]] bool IsAnyInRange() const noexcept { return isAnyInRange_; }

  private:
    bool json_;
    TimePoint since_;
    TimePoint until_;
    bool isAnyInRange_ = false;
    /// Hashes of what was reported: a file can be read twice.
    std::set<std::size_t> reported_;
};

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_PROBLEM_REPORT_H
