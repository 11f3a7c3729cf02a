#ifndef BENCH_PROCESS_CHILD_H
#define BENCH_PROCESS_CHILD_H

#include <filesystem>
#include <string>

namespace bench {

/// Runs a program and gives the time from its start to its end in nanoseconds. Its output is
/// dropped.
double TimeProcess(const std::filesystem::path& executable, const std::wstring& arguments);

/// Runs a program that crashes when asked, and gives the time from the fault to its end.
double TimeCrash(const std::filesystem::path& executable, const std::wstring& arguments);

}  // namespace bench

#endif  // BENCH_PROCESS_CHILD_H
