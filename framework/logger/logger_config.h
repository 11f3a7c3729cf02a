#ifndef FRAMEWORK_LOGGER_LOGGER_CONFIG_H
#define FRAMEWORK_LOGGER_LOGGER_CONFIG_H

#include <cstdint>
#include <string>

namespace framework {

/// All settings of the logger. Copied by `Logger::Configure`; nothing changes them afterwards.
struct LoggerConfig {
    std::wstring ComponentName;  ///< second bracket of a record that names no component itself
    std::wstring LogDirectory;   ///< with its trailing backslash
    std::wstring FilePrefix;     ///< first text of a file name
    std::uint32_t BuildNumber = 0;
    std::uint32_t MaxFileSize = 0;      ///< bytes past which a file is rotated; 0: never
    std::uint32_t TraceLevelsMask = 0;  ///< a call passes if it shares a bit with this
    bool LogToFile = false;
    bool LogToConsole = false;
    bool LogToDebugger = false;
    bool RecordFlag = false;            ///< handed to the formatter; nothing reads it
    bool RecordSourceLocation = false;  ///< adds file, line and function to each record
    bool DisableLogRetention = false;
    bool CompressRotatedLogs = false;       ///< gzip for each closed file
    std::uint32_t ExpiredPeriodInDays = 0;  ///< age limit of a log file
    std::uint32_t MaxLogFilesSize = 0;      ///< bytes, split by `SplitBudget`
};

/// The size limits of the two retention passes, in bytes.
struct RetentionBudgets {
    std::uint32_t CompressedLogsBudget = 0;  ///< for "*.log.gz"
    std::uint32_t PlainLogsBudget = 0;       ///< for "*.log"
};

/// Splits `maxLogFilesSize` between the two kinds of file. With compression the plain files always
/// have 16 MiB and the compressed ones the rest, but at least 16 MiB: the two can add up to more
/// than `maxLogFilesSize`, which is meant, so that neither kind is ever starved.
[[nodiscard]] RetentionBudgets SplitBudget(std::uint32_t maxLogFilesSize, bool compress) noexcept;

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOGGER_CONFIG_H
