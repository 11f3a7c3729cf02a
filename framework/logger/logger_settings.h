#ifndef FRAMEWORK_LOGGER_LOGGER_SETTINGS_H
#define FRAMEWORK_LOGGER_LOGGER_SETTINGS_H

#include <string>

#include "framework/logger/logger_config.h"

namespace framework {

/// Which settings the registry may override, and where they stand below `HKEY_LOCAL_MACHINE`. The
/// value names are the field names of `LoggerConfig`.
struct LoggerSettingsSource {
    bool ReadTraceLevelsMask = false;
    bool ReadExpiredPeriodInDays = false;
    bool ReadMaxLogFilesSize = false;
    bool ReadDisableLogRetention = false;
    std::wstring RegistryKey;
};

/// Starts the logger: merges the registry's values into the settings, expands the environment in
/// the log directory, configures the logger and writes the header. All of it in the constructor, on
/// the main thread before any other exists; destroying the object doesn't stop the logger.
class LoggerSettings {
  public:
    /// `source` may be null: the registry is then not touched. A value that is missing or of
    /// another type leaves its field as it was; a directory that can't be expanded becomes empty,
    /// and no file is opened. Neither is told anywhere.
    LoggerSettings(LoggerConfig config, const LoggerSettingsSource* source);
};

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOGGER_SETTINGS_H
