#ifndef BENCH_PROCESS_CHILD_H
#define BENCH_PROCESS_CHILD_H

#include <filesystem>
#include <string>

namespace bench {

/// Runs a program and returns the time from its start to its end in nanoseconds. Its output is
/// discarded.
double TimeProcess(const std::filesystem::path& executable, const std::wstring& arguments);

/// Runs a program that crashes on request, and returns the time from the fault to its end.
double TimeCrash(const std::filesystem::path& executable, const std::wstring& arguments);

}  // namespace bench

#endif  // BENCH_PROCESS_CHILD_H
