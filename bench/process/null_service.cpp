// A service that does nothing but start and stop.

#include "bench/process/same_imports.h"
#include "framework/system/platform.h"

namespace {

wchar_t serviceName[] = L"VelmoraTarnwickBench";
SERVICE_STATUS_HANDLE statusHandle;

void Report(DWORD state) {
    SERVICE_STATUS status = {};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = SERVICE_ACCEPT_STOP;
    ::SetServiceStatus(statusHandle, &status);
}

void WINAPI Control(DWORD control) {
    if (control == SERVICE_CONTROL_STOP) {
        Report(SERVICE_STOP_PENDING);
        Report(SERVICE_STOPPED);
    }
}

void WINAPI Serve(DWORD /*argc*/, wchar_t** /*argv*/) {
    statusHandle = ::RegisterServiceCtrlHandlerW(serviceName, Control);
    Report(SERVICE_START_PENDING);
    Report(SERVICE_RUNNING);
}

}  // namespace

int main() {
    if (bench::UseSameImports()) {
        return 1;
    }
    SERVICE_TABLE_ENTRYW table[] = {{serviceName, Serve}, {nullptr, nullptr}};
    return ::StartServiceCtrlDispatcherW(table) != FALSE ? 0 : 1;
}
