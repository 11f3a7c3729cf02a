#ifndef FRAMEWORK_LOGGER_LOGGER_SETTINGS_H
#define FRAMEWORK_LOGGER_LOGGER_SETTINGS_H

#include <string>

#include "framework/logger/logger_config.h"

namespace framework {

/// Which settings the registry may override, and their key below `HKEY_LOCAL_MACHINE`. The value
/// names are the field names of `LoggerConfig`.
struct LoggerSettingsSource {
    bool ReadTraceLevelsMask = false;
    bool ReadExpiredPeriodInDays = false;
    bool ReadMaxLogFilesSize = false;
    bool ReadDisableLogRetention = false;
    std::wstring RegistryKey;
};

/// Starts the logger: applies the registry values, expands environment variables in the log
/// directory, configures the logger and writes the header. The constructor does all of it; it must
/// run on the main thread before any other thread exists. The destructor does nothing.
class LoggerSettings {
  public:
    /// If `source` is null, the registry isn't read. A missing value or one of another type leaves
    /// its field unchanged. If expanding the directory fails, the directory is empty and no file is
    /// opened. Neither failure is reported.
    LoggerSettings(LoggerConfig config, const LoggerSettingsSource* source);
};

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOGGER_SETTINGS_H
