#ifndef BENCH_PROCESS_UNIX_VIEW_H
#define BENCH_PROCESS_UNIX_VIEW_H

#include <string>

namespace bench {

/// The Linux kernel's data about a process; Wine doesn't report private memory or context switches.
struct UnixFigures {
    bool found = false;
    double privateBytes = 0;
    double contextSwitches = 0;  ///< of all threads since their start
};

/// Finds the process whose command line ends in `executable`.
[[nodiscard]] UnixFigures LookAtUnixProcess(const std::string& executable);

}  // namespace bench

#endif  // BENCH_PROCESS_UNIX_VIEW_H
