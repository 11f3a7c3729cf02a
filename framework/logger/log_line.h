/// Shorthands for `Logger::Log` that take the source location as one argument.
#ifndef FRAMEWORK_LOGGER_LOG_LINE_H
#define FRAMEWORK_LOGGER_LOG_LINE_H

#include "framework/logger/log_levels.h"
#include "framework/logger/logger.h"

namespace framework {

/// The file and function names of a call's log lines.
struct LogSite {
    const wchar_t* File;
    const wchar_t* Function;
};

/// Logs one line with the default component. The line number is that of the format.
template <class... Args>
void LogLine(const LogLevel& level, const LogSite& site, FormatFor<Args...> format, Args... args) {
    if (Logger::Passes(level.Bit)) {
        Logger::Instance().Log(level.Bit, level.Tag, nullptr, site.File, format.Line(),
                               site.Function, format, args...);
    }
}

template <class... Args>
void LogError(const LogSite& site, FormatFor<Args...> format, Args... args) {
    LogLine(LevelError, site, format, args...);
}

template <class... Args>
void LogWarning(const LogSite& site, FormatFor<Args...> format, Args... args) {
    LogLine(LevelWarning, site, format, args...);
}

template <class... Args>
void LogTrace(const LogSite& site, FormatFor<Args...> format, Args... args) {
    LogLine(LevelTrace, site, format, args...);
}

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_LINE_H
