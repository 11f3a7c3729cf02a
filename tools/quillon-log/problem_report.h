#ifndef TOOLS_QUILLON_LOG_PROBLEM_REPORT_H
#define TOOLS_QUILLON_LOG_PROBLEM_REPORT_H

#include <optional>

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

    /// Valid for as long as this object.
    [[nodiscard]] ProblemSink Sink();
    [[nodiscard]] bool IsAnyInRange() const noexcept { return isAnyInRange_; }

  private:
    bool json_;
    TimePoint since_;
    TimePoint until_;
    bool isAnyInRange_ = false;
};

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_PROBLEM_REPORT_H
