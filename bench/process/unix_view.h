#ifndef BENCH_PROCESS_UNIX_VIEW_H
#define BENCH_PROCESS_UNIX_VIEW_H

#include <string>

namespace bench {

/// What the kernel under Wine says of a process; Wine itself doesn't tell private memory or context
/// switches.
struct UnixFigures {
    bool found = false;
    double privateBytes = 0;
    double contextSwitches = 0;  ///< of all threads since their start
};

/// Looks for the process whose command line ends in `executable`.
[[nodiscard]] UnixFigures LookAtUnixProcess(const std::string& executable);

}  // namespace bench

#endif  // BENCH_PROCESS_UNIX_VIEW_H
