#include "framework/logger/logger_settings.h"

#include <utility>

#include "framework/logger/logger.h"
#include "framework/system/path_helpers.h"
#include "framework/system/registry_values.h"

namespace framework {
namespace {

void MergeRegistryValues(LoggerConfig& config, const LoggerSettingsSource& source) {
    const auto merge = [&](bool wanted, const wchar_t* name, auto& field) {
        if (wanted) {
            const std::uint32_t present = field;
            field = GetDwordValueFromRegistry(source.RegistryKey, name, present);
        }
    };
    merge(source.ReadTraceLevelsMask, L"TraceLevelsMask", config.TraceLevelsMask);
    merge(source.ReadExpiredPeriodInDays, L"ExpiredPeriodInDays", config.ExpiredPeriodInDays);
    merge(source.ReadMaxLogFilesSize, L"MaxLogFilesSize", config.MaxLogFilesSize);
    if (source.ReadDisableLogRetention) {
        config.DisableLogRetention =
            GetDwordValueFromRegistry(source.RegistryKey, L"DisableLogRetention",
                                      config.DisableLogRetention ? 1 : 0) != 0;
    }
}

}  // namespace

LoggerSettings::LoggerSettings(LoggerConfig config, const LoggerSettingsSource* source) {
    if (source != nullptr) {
        MergeRegistryValues(config, *source);
    }
    std::wstring directory;
    // A failure deliberately leaves the directory empty, so that the logger opens no file: no log
    // is better than one in a directory whose name contains a variable.
    static_cast<void>(ExpandEnvironmentString(config.LogDirectory, directory));
    config.LogDirectory = std::move(directory);
    Logger& logger = Logger::Instance();
    logger.Configure(std::move(config));
    logger.WriteHeader();
}

}  // namespace framework
