/// The steps of start-up and exit that every run mode shares, in the order of their use.
#ifndef TARNWICK_SERVICE_START_UP_H
#define TARNWICK_SERVICE_START_UP_H

#include <cstdint>
#include <memory>

#include "framework/exception/exception_filter.h"
#include "framework/logger/logger_settings.h"
#include "tarnwick-service/service_descriptor.h"

namespace tarnwick {

/// Own the objects that live for the whole run. Written by the main thread only.
extern std::unique_ptr<framework::LoggerSettings> loggerSettingsSlot;
extern std::unique_ptr<framework::ExceptionFilter> exceptionFilterSlot;

/// Default logger settings, before registry overrides. `logConsole` logs to the console instead of
/// a file.
[[nodiscard]] framework::LoggerConfig MakeLoggerConfig(bool logConsole);
[[nodiscard]] framework::LoggerSettingsSource MakeLoggerSettingsSource();

/// The service can't be stopped at first: a component allows it later.
[[nodiscard]] ServiceDescriptor MakeServiceDescriptor();

/// Fills the logger settings slot. Logging works from here on.
void StartLogging(bool logConsole);

/// Reads the dump settings and fills the exception filter slot. Logs, so the logger comes first.
void InstallExceptionFilter();

/// Waits, so that a debugger can be attached before the service runs. Seconds times 1000 wraps at
/// 32 bits.
void SleepBeforeStart(std::uint32_t seconds);

/// One line with the count of the arguments, then one for each, the program's own path included.
void LogParameters(int argc, const wchar_t* const* argv);

/// Prints the options to standard output; nothing is logged.
void PrintUsage();

/// Empties both slots, the filter's first. The logger itself lives until the process's exit
/// handlers run.
void UndoStartUp();

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_START_UP_H
