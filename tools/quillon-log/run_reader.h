#ifndef TOOLS_QUILLON_LOG_RUN_READER_H
#define TOOLS_QUILLON_LOG_RUN_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tools/quillon-log/byte_source.h"
#include "tools/quillon-log/folder.h"
#include "tools/quillon-log/problem.h"
#include "tools/quillon-log/record.h"

namespace quillon_log {

/// A place between two records of a run.
struct LogPosition {
    std::uint32_t number = 0;           ///< of the file
    std::uint64_t offset = 0;           ///< in the file's unpacked bytes
    std::uint64_t records = 0;          ///< of the file before this place
    TimePoint time = TimePoint::min();  ///< of the last record before this place
    bool isAtEnd = false;               ///< nothing more comes in this file: it was closed
    bool isQuiet = false;  ///< this was the file's end, and no process had it open for writing
};

/// Where a record comes from. File and record number together name it within its folder.
struct Origin {
    const Folder* folder = nullptr;
    RunKey run;
    std::uint32_t number = 0;          ///< of the file
    std::wstring file;                 ///< the log's name without folder and ".gz"
    std::optional<std::uint32_t> pid;  ///< of the process, from the file's header
    std::uint64_t record = 0;          ///< number in the file, from 1
};

/// What to do with text at the end of a log that may still grow.
enum class AtEnd {
    Finish,            ///< it is the last record
    FinishUnlessOpen,  ///< it is the last record, unless a process has the file open for writing
    Wait,              ///< wait for more
};

/// Reads the records of one run, file by file.
class RunReader {
  public:
    /// All but `start` must outlive the reader. `folder` may be refreshed and `atEnd` may change
    /// between calls.
    RunReader(const Folder& folder, RunKey run, LogPosition start, const AtEnd& atEnd,
              const ProblemSink& problems);

    /// Goes to the next record. False if there is none, for now or for good.
    bool Advance();
    /// Whether no further record can follow.
    [[nodiscard]] bool IsFinished() const noexcept { return isFinished_; }
    /// Whether all was read of a file that nobody writes to.
    [[nodiscard]] bool IsIdle() const { return position_.isQuiet && scanner_.Rest().empty(); }
    /// Whether text was held back that may be a whole record: it is if no more comes soon.
    [[nodiscard]] bool HoldsBack() const noexcept { return heldBack_ != 0; }

    // Of the record at hand, until the next call of `Advance`.
    [[nodiscard]] const Record& Current() const noexcept { return record_; }
    [[nodiscard]] const Origin& Source() const noexcept { return origin_; }
    /// The record's time, or that of the record before it in the run.
    [[nodiscard]] TimePoint Time() const noexcept { return position_.time; }
    /// The place before the record at hand.
    [[nodiscard]] const LogPosition& Before() const noexcept { return before_; }
    /// The place after the record at hand.
    [[nodiscard]] const LogPosition& Position() const noexcept { return position_; }

    /// The reader is finished at the end of the first file that it reads.
    void ReadOneFile() { isOneFile_ = true; }
    /// A file that begins at this time or later isn't read.
    void SetUntil(TimePoint until) { until_ = until; }
    /// How many bytes are read at once, and whether a thread unpacks ahead.
    void SetBuffer(std::size_t size, bool readsAhead);
    /// Closes the file until it is needed again. The record at hand stays.
    void CloseFile();
    /// How many files were opened so far.
    [[nodiscard]] std::size_t FilesRead() const noexcept { return filesRead_; }
    /// Path of the file opened last; empty if there was none.
    [[nodiscard]] const std::wstring& LastFile() const noexcept { return path_; }

  private:
    /// Result of a step towards the next record.
    enum class Step { Record, Again, Nothing };
    enum class Opening { Done, Missing, Refused, Shorter };

    Step NextStep();
    Step BeginFile(std::uint32_t number, std::uint64_t offset);
    Step BeginNextFile();
    Step OpenFile();
    Opening OpenSource(std::uint64_t skip);
    bool Refill();
    Step EndOfData();
    Step EndOfOpenLog();
    Step HoldBack();
    bool Take();
    [[nodiscard]] bool HasSuccessor() const;
    [[nodiscard]] bool IsThere(std::uint32_t number) const;
    [[nodiscard]] bool IsUnchanged() const;
    void ReportProblem(const std::wstring& text);
    void ReportGap(std::uint32_t missingFiles, TimePoint until);
    [[nodiscard]] TimePoint LatestMissing() const;

    const Folder& folder_;
    const RunKey run_;
    const AtEnd& atEnd_;
    const ProblemSink& problems_;
    TimePoint until_ = TimePoint::max();
    std::size_t bufferSize_ = 128 * 1024;
    bool readsAhead_ = true;

    LogPosition before_;
    LogPosition position_;
    Record record_;
    Origin origin_;
    bool isBegun_ = false;  ///< the file of `position_` was opened before
    bool isFinished_ = false;
    bool isOneFile_ = false;
    std::size_t filesRead_ = 0;

    // Of the file of `position_`.
    std::wstring path_;
    std::unique_ptr<ByteSource> source_;  ///< null while the file is closed
    RecordScanner scanner_;
    bool isCompressed_ = false;
    bool isClosed_ = false;  ///< nobody writes to it any more
    bool isDamaged_ = false;
    std::wstring damage_;         ///< to be reported after the last record
    std::uint64_t heldBack_ = 0;  ///< where the text ends that was held back; 0: none was
};

/// The time of the first record of a log. Nothing if it can't be read or doesn't begin with one.
[[nodiscard]] std::optional<TimePoint> FirstTimeOf(const Folder& folder, const LogFile& file);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_RUN_READER_H
