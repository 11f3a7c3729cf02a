/// Deletes old log files, by age and by total size.
#ifndef FRAMEWORK_LOGGER_LOG_RETENTION_H
#define FRAMEWORK_LOGGER_LOG_RETENTION_H

#include <cstdint>
#include <string>
#include <vector>

#include "framework/system/platform.h"

namespace framework {

/// The parameters of one pass.
struct LogRetentionParams {
    std::wstring Directory;  ///< must end in a backslash, which isn't added
    std::wstring Pattern;    ///< of file names; every matching file counts, whoever wrote it
    std::uint32_t ExpiredPeriodInDays;  ///< whole days
    std::uint32_t MaxTotalSize;         ///< bytes
};

/// One file.
struct LogFileEntry {
    std::wstring Path;
    std::uint64_t Size;          ///< bytes
    std::uint64_t CreationTime;  ///< 100-nanosecond ticks since 1601, UTC
};

using LogFileList = std::vector<LogFileEntry>;

/// One pass: lists the files, deletes the expired ones, then those over the size limit. Any thread;
/// takes no lock except to log. Opens no file. A file that can't be deleted is skipped silently and
/// retried on the next pass.
class LogRetention {
  public:
    explicit LogRetention(LogRetentionParams params);

    /// Runs the pass. Logs a failed enumeration or time conversion as an error, and nothing on
    /// success. Throws no standard exception, even without memory to log one.
    void Execute();

    /// All matching files, in the platform's order. Matching directories are included.
    [[nodiscard]] LogFileList GetLogFiles() const;

    /// Deletes in list order and ignores failures.
    static void DeleteFiles(const LogFileList& list);

    /// Whether the entry is at least `days` whole days old at `now`. False for a file created after
    /// `now`.
    [[nodiscard]] static bool IsExpired(const LogFileEntry& entry, std::uint64_t now,
                                        std::uint32_t days) noexcept;

    /// The entries that have expired at the time of the pass, and the others, in list order.
    [[nodiscard]] LogFileList SelectExpired(const LogFileList& list, std::uint32_t days) const;
    [[nodiscard]] LogFileList SelectNotExpired(const LogFileList& list, std::uint32_t days) const;

    /// Walks from newest to oldest; returns the file whose size brings the total to `limit` bytes,
    /// and every older one, in that order. Ties: later in the list is newer.
    [[nodiscard]] static LogFileList SelectOverBudget(const LogFileList& list, std::uint32_t limit);

    /// The time in ticks, or 0 (logged as an error) if the conversion fails.
    [[nodiscard]] static std::uint64_t ToFileTime(const SYSTEMTIME& systemTime);

  private:
    LogRetentionParams Params;
    std::uint64_t CurrentTime = 0;
};

/// Logs that a pass ended early. Without memory for the line, does nothing.
void ReportFailedPass() noexcept;

/// Runs one pass.
void RunLogRetention(LogRetentionParams params);

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_RETENTION_H
