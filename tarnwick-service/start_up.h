/// The steps of start-up and exit that every run mode shares, in the order of their use.
#ifndef TARNWICK_SERVICE_START_UP_H
#define TARNWICK_SERVICE_START_UP_H

#include <cstdint>
#include <memory>

#include "framework/exception/exception_filter.h"
#include "framework/logger/logger_settings.h"
#include "tarnwick-service/service_descriptor.h"

namespace tarnwick {

/// The owners of what stands for the whole run. Written by the main thread only.
extern std::unique_ptr<framework::LoggerSettings> loggerSettingsSlot;
extern std::unique_ptr<framework::ExceptionFilter> exceptionFilterSlot;

/// The logger's settings before the registry has its say. `logConsole` moves the log from the file
/// to the console; it doesn't add one.
[[nodiscard]] framework::LoggerConfig MakeLoggerConfig(bool logConsole);
[[nodiscard]] framework::LoggerSettingsSource MakeLoggerSettingsSource();

/// The service starts without the right to be stopped: a component grants it later.
[[nodiscard]] ServiceDescriptor MakeServiceDescriptor();

/// Fills the logger settings slot. From here on logging works.
void StartLogging(bool logConsole);

/// Reads the dump settings and fills the exception filter slot. Logs, so the logger comes first.
void InstallExceptionFilter();

/// Pauses, so that a debugger can be attached before anything of the service has run. The product
/// of seconds and 1000 wraps at 32 bits.
void SleepBeforeStart(std::uint32_t seconds);

/// One line with the count of the arguments, then one for each, the program's own path included.
void LogParameters(int argc, const wchar_t* const* argv);

/// Prints the options to standard output; nothing is logged.
void PrintUsage();

/// Empties both slots, the filter's first. The logger itself lives on until the process's exit
/// handlers run.
void UndoStartUp();

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_START_UP_H
