// The one entry point: a service without arguments; a console application, a dumper or an unpacker
// with them. Every mode stands on the same start-up, which is undone in reverse when it returns.

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
    // A failure to reach the Service Control Manager is dropped: there is nobody to tell.
    static_cast<void>(service->Run());
    WindowsServiceBase::ResetInstance();
}

void CreateDump(const CommandLine& commandLine) {
    // The print and the exit code are the same for a dump that failed, whose error is in the log.
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

}  // namespace
}  // namespace tarnwick

int wmain(int argc, wchar_t* argv[]) {
    const tarnwick::CommandLine commandLine = tarnwick::ParseCommandLine(argc, argv);
    if (commandLine.error != nullptr) {
        framework::ConsolePrint(L"%ws", commandLine.error);
    }
    tarnwick::StartLogging(commandLine.logConsole);
    tarnwick::CallOnFilterFrame([&] {
        tarnwick::InstallExceptionFilter();
        tarnwick::SleepBeforeStart(commandLine.sleepSeconds);
        tarnwick::LogParameters(argc, argv);
        tarnwick::RunInMode(commandLine);
        tarnwick::UndoStartUp();
    });
    return 0;
}
