#ifndef TOOLS_QUILLON_LOG_PROBLEM_H
#define TOOLS_QUILLON_LOG_PROBLEM_H

#include <cstdint>
#include <functional>
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
    std::uint32_t missingFiles = 0;
    bool isGap = false;
};

using ProblemSink = std::function<void(const Problem&)>;

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_PROBLEM_H
