#ifndef FRAMEWORK_LOGGER_LOGGER_CONFIG_H
#define FRAMEWORK_LOGGER_LOGGER_CONFIG_H

#include <cstdint>
#include <string>

namespace framework {

/// The logger's settings. `Logger::Configure` copies them; they don't change afterwards.
struct LoggerConfig {
    std::wstring ComponentName;  ///< second bracket of a record that names no component itself
    std::wstring LogDirectory;   ///< must end in a backslash
    std::wstring FilePrefix;     ///< the beginning of a file name
    std::uint32_t BuildNumber = 0;
    std::uint32_t MaxFileSize = 0;      ///< bytes after which a file is rotated; 0: never
    std::uint32_t TraceLevelsMask = 0;  ///< a call passes if its level shares a bit with this
    bool LogToFile = false;
    bool LogToConsole = false;
    bool LogToDebugger = false;
    bool RecordFlag = false;            ///< copied to the formatter, which ignores it
    bool RecordSourceLocation = false;  ///< adds file, line and function to each record
    bool DisableLogRetention = false;
    bool CompressRotatedLogs = false;       ///< compresses each closed file with gzip
    std::uint32_t ExpiredPeriodInDays = 0;  ///< age limit of a log file
    std::uint32_t MaxLogFilesSize = 0;      ///< bytes, split by `SplitBudget`
};

/// The size limits of the two retention passes, in bytes.
struct RetentionBudgets {
    std::uint32_t CompressedLogsBudget = 0;  ///< for "*.log.gz"
    std::uint32_t PlainLogsBudget = 0;       ///< for "*.log"
};

/// Splits `maxLogFilesSize` between plain and compressed files. With compression, plain files get
/// 16 MiB and compressed files the rest, but at least 16 MiB. The sum may exceed `maxLogFilesSize`,
/// which is meant: each kind always has room.
[[nodiscard]] RetentionBudgets SplitBudget(std::uint32_t maxLogFilesSize, bool compress) noexcept;

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOGGER_CONFIG_H
