#include "tarnwick-service/start_up.h"

#include <string>

#include "framework/logger/log_line.h"
#include "framework/system/console.h"
#include "framework/system/path_helpers.h"
#include "framework/system/platform.h"
#include "framework/system/registry_values.h"
#include "version/version.h"

namespace tarnwick {

using framework::ConsolePrint;

std::unique_ptr<framework::LoggerSettings> loggerSettingsSlot;
std::unique_ptr<framework::ExceptionFilter> exceptionFilterSlot;

namespace {

constexpr framework::LogSite Site = {L"main", L"wmain"};

constexpr const wchar_t* ServiceName = L"VelmoraTarnwickService";
constexpr const wchar_t* ServiceKeyPath =
    L"SYSTEM\\CurrentControlSet\\Services\\VelmoraTarnwickService";

}  // namespace

framework::LoggerConfig MakeLoggerConfig(bool logConsole) {
    constexpr std::uint32_t MiB = 1024 * 1024;
    framework::LoggerConfig config;
    config.ComponentName = L"quillon";
    config.LogDirectory = L"%ALLUSERSPROFILE%\\Velmora\\Quillon\\Logs\\";
    config.FilePrefix = L"quillon";
    config.BuildNumber = version::BuildNumber;
    config.MaxFileSize = 5 * MiB;
    config.TraceLevelsMask =
        framework::LevelError.Bit | framework::LevelWarning.Bit | framework::LevelTrace.Bit;
    config.LogToFile = !logConsole;
    config.LogToConsole = logConsole;
    config.LogToDebugger = false;
    config.RecordFlag = true;
    config.RecordSourceLocation = false;
    config.DisableLogRetention = false;
    config.CompressRotatedLogs = true;
    config.ExpiredPeriodInDays = 70;
    config.MaxLogFilesSize = 25 * MiB;
    return config;
}

framework::LoggerSettingsSource MakeLoggerSettingsSource() {
    framework::LoggerSettingsSource source;
    source.ReadTraceLevelsMask = true;
    source.ReadExpiredPeriodInDays = true;
    source.ReadMaxLogFilesSize = true;
    source.ReadDisableLogRetention = true;
    source.RegistryKey = ServiceKeyPath;
    return source;
}

ServiceDescriptor MakeServiceDescriptor() {
    ServiceDescriptor descriptor = {};
    descriptor.serviceName = ServiceName;
    descriptor.canStop = 0;
    descriptor.canShutdown = 1;
    descriptor.canPause = 0;
    descriptor.serviceKeyPath = ServiceKeyPath;
    return descriptor;
}

void StartLogging(bool logConsole) {
    const framework::LoggerSettingsSource source = MakeLoggerSettingsSource();
    loggerSettingsSlot =
        std::make_unique<framework::LoggerSettings>(MakeLoggerConfig(logConsole), &source);
}

void InstallExceptionFilter() {
    framework::ExceptionFilterConfig config = {};
    config.preActionCallback = nullptr;
    config.preActionContext = nullptr;
    config.useDumperProcess = 0;
    config.dumpType = framework::GetDwordValueFromRegistry(ServiceKeyPath, L"DumpType", 0);
    // If the expansion fails, the path is empty, and the dump goes next to the executable.
    std::wstring dumpPath;
    static_cast<void>(framework::ExpandEnvironmentString(
        L"%ALLUSERSPROFILE%\\Velmora\\Quillon\\tarnwick-service.exe.dmp", dumpPath));
    config.dumpFilePath = dumpPath.c_str();
    exceptionFilterSlot = std::make_unique<framework::ExceptionFilter>(config);
}

void SleepBeforeStart(std::uint32_t seconds) {
    constexpr std::uint32_t MillisecondsPerSecond = 1000;
    if (seconds != 0) {
        ::Sleep(seconds * MillisecondsPerSecond);
    }
}

void LogParameters(int argc, const wchar_t* const* argv) {
    framework::LogTrace(Site, L"Start paramers cnt = %i \n", argc);
    for (int index = 0; index < argc; ++index) {
        framework::LogTrace(Site, L"Parameter %i = %s\n", index, argv[index]);
    }
}

void PrintUsage() {
    ConsolePrint(L"Start options:\n");
    ConsolePrint(L" -run               to run as application \n");
    ConsolePrint(
        L" -dump <processIdStr> <threadIdStr> <exceptionInformationStr> to to create dump of "
        L"specified process\n");
    ConsolePrint(L" -zevrunzip         to upzip zevr archive into {rootpath}\n");
    ConsolePrint(L"Optional parameters:\n");
    ConsolePrint(
        L" -sleep <seconds>   time to sleep before starting Keldane (can be used for connecting to "
        L"process for debugging purposes) \n");
    ConsolePrint(
        L" -test              run probe-plain.exe to trigger OAS callback (for debugging "
        L"purposes) \n");
    ConsolePrint(L" -log-console       enable log to console instead of file \n");
}

void UndoStartUp() {
    exceptionFilterSlot.reset();
    loggerSettingsSlot.reset();
}

}  // namespace tarnwick
