/// Keeping a log directory within limits of age and size.
#ifndef FRAMEWORK_LOGGER_LOG_RETENTION_H
#define FRAMEWORK_LOGGER_LOG_RETENTION_H

#include <cstdint>
#include <string>
#include <vector>

#include "framework/system/platform.h"

namespace framework {

/// Describes one pass.
struct LogRetentionParams {
    std::wstring Directory;  ///< with its trailing backslash; nothing repairs a missing one
    std::wstring Pattern;    ///< of file names; whoever wrote a file that matches, it counts
    std::uint32_t ExpiredPeriodInDays;  ///< whole days
    std::uint32_t MaxTotalSize;         ///< bytes
};

/// One found file.
struct LogFileEntry {
    std::wstring Path;
    std::uint64_t Size;          ///< bytes
    std::uint64_t CreationTime;  ///< 100-nanosecond ticks since 1601, UTC
};

using LogFileList = std::vector<LogFileEntry>;

/// One pass: an enumeration, then the deletion of what is too old, then of what lies beyond the
/// size limit. Takes no lock but for its log lines; may run on any thread. No file is opened, and a
/// file that can't be deleted stays without a word: the next pass sees it again.
class LogRetention {
  public:
    explicit LogRetention(LogRetentionParams params);

    /// Does the pass. Failures of the enumeration and of the clock are logged as errors; a pass
    /// that does its work logs nothing. No standard exception leaves it, not even when there is no
    /// memory to log one.
    void Execute();

    /// All files that match, in the platform's order. Directories that match are listed too.
    [[nodiscard]] LogFileList GetLogFiles() const;

    /// Deletes in list order, whatever becomes of it.
    static void DeleteFiles(const LogFileList& list);

    /// Whether the entry is at least `days` whole days old at `now`. A file from the future is not.
    [[nodiscard]] static bool IsExpired(const LogFileEntry& entry, std::uint64_t now,
                                        std::uint32_t days) noexcept;

    /// The entries that are expired at the time of the pass, and those that aren't, in list order.
    [[nodiscard]] LogFileList SelectExpired(const LogFileList& list, std::uint32_t days) const;
    [[nodiscard]] LogFileList SelectNotExpired(const LogFileList& list, std::uint32_t days) const;

    /// What lies beyond `limit` bytes, from newer to older: counted from the newest file down, the
    /// one that brings the total to the limit and all that are older. Of files with the same time
    /// the one listed last counts as the newest.
    [[nodiscard]] static LogFileList SelectOverBudget(const LogFileList& list, std::uint32_t limit);

    /// The time in ticks, or 0 (logged as an error) if it can't be converted.
    [[nodiscard]] static std::uint64_t ToFileTime(const SYSTEMTIME& systemTime);

  private:
    LogRetentionParams Params;
    std::uint64_t CurrentTime = 0;
};

/// Logs that a pass has ended early, or doesn't if there is no memory for it.
void ReportFailedPass() noexcept;

/// Does one pass.
void RunLogRetention(LogRetentionParams params);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_RETENTION_H
