#ifndef TOOLS_QUILLON_LOG_READER_H
#define TOOLS_QUILLON_LOG_READER_H

#include <compare>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/quillon-log/folder.h"
#include "tools/quillon-log/problem.h"
#include "tools/quillon-log/run_reader.h"

namespace quillon_log {

/// A run in one of the folders of a reader.
struct RunId {
    std::size_t folder = 0;
    RunKey run;

    // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the comparison's zero for a pointer
    auto operator<=>(const RunId&) const = default;
};

using Positions = std::map<RunId, LogPosition>;

struct ReaderSettings {
    AtEnd atEnd = AtEnd::Finish;
    bool keepsPositions = false;     ///< for later calls of `ReadNew`, and for a cursor
    std::optional<TimePoint> since;  ///< files that hold nothing from this time on may be left out
    std::optional<TimePoint> until;  ///< files that hold nothing before this time may be left out
    std::optional<RunId> onlyRun;    ///< other runs are left out
};

/// Reads the logs of some folders: all of them, or what came since the last call. Records of
/// processes that ran at the same time are merged by their time; within a process they stay in
/// the order of writing. A run is opened when the merge reaches its start, and only a few files
/// are open at once, so that memory doesn't grow with the number or size of logs.
class Reader {
  public:
    /// Called for each record. False: stop; the record counts as read.
    using RecordSink = std::function<bool(const Record&, const Origin&)>;

    Reader(std::vector<Folder> folders, ReaderSettings settings, ProblemSink problems);
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// Passes the records that were not read before to `sink`. False if no folder can be read.
    bool ReadNew(const RecordSink& sink);
    /// Lists the folders anew. False if none can be read.
    bool Refresh();

    /// Leaves out what the logs hold that exist now. Later files of their runs are read.
    void SkipPresent();
    /// Begins a run at a position, or, for a run without a position, leaves it out if `onlyThese`.
    void BeginAt(Positions positions, bool onlyThese = false);
    /// Begins each run where a cursor ended. Of a run that is new since, the first files can have
    /// been deleted; they are reported as a gap.
    void BeginAtCursor(Positions positions);
    /// Leaves out all other runs.
    void ReadOnly(const RunId& run) { settings_.onlyRun = run; }
    /// From now on no log grows: what is left at the end of a log is its last record.
    void Finish() noexcept { settings_.atEnd = AtEnd::Finish; }

    /// The position in each run, after the record read last. Needs `keepsPositions`.
    [[nodiscard]] Positions Reached() const;
    /// Whether text was held back that may be a whole record: it is if no more comes soon.
    [[nodiscard]] bool HoldsBack() const;
    [[nodiscard]] const std::vector<Folder>& Folders() const noexcept { return folders_; }
    [[nodiscard]] std::vector<Folder>& Folders() noexcept { return folders_; }
    /// How many runs the folders hold, as far as was seen.
    [[nodiscard]] std::size_t RunCount() const noexcept { return runCount_; }

    /// How many files were read, in part at least.
    [[nodiscard]] std::size_t FilesRead() const noexcept;
    /// Path of the file read last; empty if there was none.
    [[nodiscard]] const std::wstring& LastFile() const noexcept { return lastFile_; }

  private:
    struct Later {
        bool operator()(const RunReader* left, const RunReader* right) const;
    };

    void ReportMissingRuns();
    void ReportMissingStart(const Folder& folder, const LogFile& first) const;
    void OpenDueRuns(std::vector<std::size_t>& next);
    void OpenRun(std::size_t folder, std::size_t first, std::size_t last);
    [[nodiscard]] std::optional<LogPosition> StartOf(const RunId& id, std::size_t first,
                                                     std::size_t last) const;
    void AdvanceRun(const RunId& id);

    std::vector<Folder> folders_;
    ReaderSettings settings_;
    ProblemSink problems_;
    bool onlyPositioned_ = false;
    bool knowsEarlierRuns_ = false;  ///< a run without a position began after an earlier reading
    /// Of runs without a reader.
    Positions positions_;
    std::map<RunId, std::unique_ptr<RunReader>> readers_;
    /// Readers whose current record was not passed on yet; a heap with the earliest in front.
    std::vector<RunReader*> ready_;
    std::size_t runCount_ = 0;
    std::size_t filesRead_ = 0;  ///< by readers that are gone
    std::wstring lastFile_;
};

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_READER_H
