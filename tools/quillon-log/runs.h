#ifndef TOOLS_QUILLON_LOG_RUNS_H
#define TOOLS_QUILLON_LOG_RUNS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/quillon-log/reader.h"

namespace quillon_log {

enum class Ending {
    Ended,    ///< in order, with its closing record
    Running,  ///< a process still has the last log open
    Crashed,  ///< the last records are those of a crash
    CutOff,   ///< none of these: ended from outside, or the machine failed
};

/// Summary of the logs of one run.
struct RunSummary {
    std::optional<std::uint32_t> pid;
    TimePoint last{};                       ///< of the last record
    std::array<std::uint64_t, 4> counts{};  ///< of records by level: E, W, T, V
    std::size_t files = 0;
    Ending ending = Ending::CutOff;
};

/// All runs of the folders, by their start.
[[nodiscard]] std::vector<RunId> ListRuns(const std::vector<Folder>& folders);

/// Reads the run's logs; with `onlyLastFile` only the last one, which shows how it ended.
[[nodiscard]] RunSummary Summarize(const Folder& folder, RunKey run, const ProblemSink& problems,
                                   bool onlyLastFile = false);

/// Appends a line about a run; `index` counts from the last run, which is -1.
void AppendRun(std::wstring& text, const Folder& folder, RunKey run, const RunSummary& summary,
               std::ptrdiff_t index, Clock clock);
void AppendRunJson(std::wstring& json, const Folder& folder, RunKey run, const RunSummary& summary,
                   std::ptrdiff_t index);
/// The line above the others.
extern const wchar_t* const RunsHead;

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_RUNS_H
