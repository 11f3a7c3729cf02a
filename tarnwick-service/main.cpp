// The entry point: a service without arguments; a console application, a dumper or an unpacker with
// them. Every mode has the same start-up, which is undone in reverse when the mode returns.

#include "framework/exception/dump_writer.h"
#include "framework/system/console.h"
#include "tarnwick-service/archive_unpack.h"
#include "tarnwick-service/command_line.h"
#include "tarnwick-service/console_run.h"
#include "tarnwick-service/filter_frame.h"
#include "tarnwick-service/keldane_service.h"
#include "tarnwick-service/start_up.h"

namespace tarnwick {
namespace {

void RunService() {
    const auto service = KeldaneService::GetOrCreateInstance(MakeServiceDescriptor());
    // A failure to reach the Service Control Manager is ignored: it can't be reported anywhere.
    static_cast<void>(service->Run());
    WindowsServiceBase::ResetInstance();
}

void CreateDump(const CommandLine& commandLine) {
    // A failed dump has the same print and exit code; its error is in the log.
    static_cast<void>(framework::CreateDumpInOtherProcess(
        commandLine.processIdText, commandLine.threadIdText, commandLine.exceptionInformationText));
    framework::ConsolePrint(L"!!! DUMP WAS CREATED !!!\n");
}

void RunInMode(const CommandLine& commandLine) {
    switch (commandLine.mode) {
        case RunMode::Service:
            RunService();
            break;
        case RunMode::Console:
            RunKeldane(MakeServiceDescriptor(), commandLine.test);
            break;
        case RunMode::Dump:
            CreateDump(commandLine);
            break;
        case RunMode::Unpack:
            UnpackArchive();
            break;
        case RunMode::Usage:
            PrintUsage();
            break;
    }
}

void RunFromStartUpToExit(int argc, wchar_t* argv[]) {
    const CommandLine commandLine = ParseCommandLine(argc, argv);
    if (commandLine.error != nullptr) {
        framework::ConsolePrint(L"%ws", commandLine.error);
    }
    StartLogging(commandLine.logConsole);
    InstallExceptionFilter();
    SleepBeforeStart(commandLine.sleepSeconds);
    LogParameters(argc, argv);
    RunInMode(commandLine);
    UndoStartUp();
}

}  // namespace
}  // namespace tarnwick

int wmain(int argc, wchar_t* argv[]) {
    // Includes the steps before the exception filter: an exception there ends the process with its
    // own code, without a dump.
    tarnwick::CallOnFilterFrame([&] { tarnwick::RunFromStartUpToExit(argc, argv); });
    return 0;
}
