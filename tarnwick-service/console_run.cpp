#include "tarnwick-service/console_run.h"

#include <string>

#include "framework/logger/log_line.h"
#include "tarnwick-service/filter_frame.h"
#include "tarnwick-service/keldane_service.h"
#include "tarnwick-service/sample_process.h"

namespace tarnwick {
namespace {

constexpr const wchar_t* SampleName = L"probe-plain.exe";

// Process-wide, because the console handler gets no context. A raw handle: a console event after
// the run uses a closed handle, and nothing guards against that.
HANDLE stopEvent;
WindowsServiceBase* consoleService;

/// The copy and the process of the sample.
class SampleRun {
  public:
    // Failures are ignored: they must not stop the service.
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

/// From a successful start to the console event.
void ServeUntilStopped(bool test) {
    SampleRun sample;
    if (test) {
        sample.Start();
    }
    ::WaitForSingleObject(stopEvent, INFINITE);
    // A failed stop ends the run too.
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
    CallOnFilterFrame([] {
        framework::LogTrace({L"main", L"HandlerRoutine"}, L"Ctrl+c event was recieved \n");
        ::SetEvent(stopEvent);
    });
    return TRUE;
}

}  // namespace tarnwick
