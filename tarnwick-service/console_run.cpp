#include "tarnwick-service/console_run.h"

#include <string>

#include "framework/logger/log_line.h"
#include "tarnwick-service/keldane_service.h"
#include "tarnwick-service/sample_process.h"

namespace tarnwick {
namespace {

constexpr const wchar_t* SampleName = L"probe-plain.exe";

// The console handler gets no context, so both are process-wide. The event is a raw handle: an
// event that comes after the run meets a closed one, and nothing guards against that.
HANDLE stopEvent;
WindowsServiceBase* consoleService;

/// The sample's copy and process, from its start to its end.
class SampleRun {
  public:
    // No status is looked at: the run is about the service, and a failure stops nothing.
    void Start() {
        static_cast<void>(CopyToRandomName(SampleName, copyName_));
        static_cast<void>(CreateChildProcess(copyName_, &processInformation_));
    }

    void Stop() {
        static_cast<void>(TerminateChild(processInformation_));
        std::wstring path;
        static_cast<void>(PathNextToExecutable(path, copyName_));
        static_cast<void>(DeleteFileChecked(path));
    }

  private:
    std::wstring copyName_;
    // Raw handles: TerminateChild closes both, or neither when its wait fails.
    PROCESS_INFORMATION processInformation_ = {};
};

/// Serves from a good start to the console event.
void ServeUntilStopped(bool test) {
    SampleRun sample;
    if (test) {
        sample.Start();
    }
    ::WaitForSingleObject(stopEvent, INFINITE);
    // A failed stop ends the run like any other.
    static_cast<void>(consoleService->OnStop());
    if (test) {
        sample.Stop();
    }
}

}  // namespace

void RunKeldane(const ServiceDescriptor& descriptor, bool test) {
    const auto service = KeldaneService::GetOrCreateInstance(descriptor);
    consoleService = service.get();
    stopEvent = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    ::SetConsoleCtrlHandler(HandlerRoutine, TRUE);
    framework::LogTrace({L"main", L"RunKeldane"}, L"Keldane is working... Press Ctrl+c to stop \n");
    if (consoleService->OnStart() == ERROR_SUCCESS) {
        ServeUntilStopped(test);
    }
    ::CloseHandle(stopEvent);
    WindowsServiceBase::ResetInstance();
}

BOOL WINAPI HandlerRoutine(DWORD /*controlType*/) {
    framework::LogTrace({L"main", L"HandlerRoutine"}, L"Ctrl+c event was recieved \n");
    ::SetEvent(stopEvent);
    return TRUE;
}

}  // namespace tarnwick
