#ifndef TOOLS_QUILLON_LOG_PROBLEM_H
#define TOOLS_QUILLON_LOG_PROBLEM_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tools/quillon-log/time_point.h"

namespace quillon_log {

/// Something that keeps records from being read.
struct Problem {
    std::wstring place;  ///< path of the file
    std::wstring text;
    // The times that what is missing can have.
    TimePoint from = TimePoint::min();
    TimePoint until = TimePoint::max();
    // Of logs that were deleted before they were read:
    bool isGap = false;
    /// Whole files that are missing; none if that can't be known. 0: the rest of one file.
    std::optional<std::uint32_t> missingFiles = 0;
    std::uint64_t lastRecord = 0;  ///< the number of the last record read; 0 if files are missing
};

using ProblemSink = std::function<void(const Problem&)>;

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_PROBLEM_H
