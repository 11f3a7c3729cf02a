#include "dev-controller/wine_stop_remedy.h"

#include <atomic>
#include <memory>

#include "dev-controller/handle.h"
#include "dev-controller/import_patch.h"

namespace dev_controller {
namespace {

using SetServiceStatusFunction = BOOL(WINAPI*)(SERVICE_STATUS_HANDLE, SERVICE_STATUS*);

struct HandedOverReport {
    SERVICE_STATUS_HANDLE service;
    SERVICE_STATUS status;
    Handle earlierReport;  ///< keeps the reports in order
};

std::atomic<SetServiceStatusFunction> original = nullptr;
std::atomic<ReportSent> observer = nullptr;

SRWLOCK lastReportLock = SRWLOCK_INIT;
/// The thread that sends the newest report. Guarded by `lastReportLock`. Not closed by a
/// destructor, because this library's destructors run after the process has killed its threads.
HANDLE lastReport = nullptr;

Handle Duplicate(HANDLE handle) {
    HANDLE copy = nullptr;
    if (handle != nullptr) {
        DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &copy, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
    }
    return Handle(copy);
}

DWORD WINAPI SendReport(void* parameter) {
    const std::unique_ptr<HandedOverReport> report(static_cast<HandedOverReport*>(parameter));
    if (report->earlierReport) {
        // No time limit: the earlier thread ends when the control handler has returned.
        WaitForSingleObject(report->earlierReport.Get(), INFINITE);
    }
    const BOOL success = original.load()(report->service, &report->status);
    const DWORD error = success ? 0 : GetLastError();
    if (const ReportSent sent = observer.load()) {
        sent(report->status, success != FALSE, error);
    }
    return 0;
}

/// Returns false, with nothing sent, if the thread can't be created.
bool HandOver(SERVICE_STATUS_HANDLE service, const SERVICE_STATUS& status) {
    const ExclusiveLock lock(lastReportLock);
    std::unique_ptr<HandedOverReport> report(
        new HandedOverReport{service, status, Duplicate(lastReport)});
    const HANDLE thread = CreateThread(nullptr, 0, SendReport, report.get(), 0, nullptr);
    if (thread == nullptr) {
        return false;
    }
    static_cast<void>(report.release());
    const Handle former(lastReport);
    lastReport = thread;
    return true;
}

BOOL WINAPI SetServiceStatusOnWine(SERVICE_STATUS_HANDLE service, SERVICE_STATUS* status) {
    const bool stopped = status != nullptr && status->dwCurrentState == SERVICE_STOPPED;
    if (service != nullptr && stopped && HandOver(service, *status)) {
        return TRUE;
    }
    return original.load()(service, status);
}

}  // namespace

bool RunsOnWine() {
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

void InstallWineStopRemedy(ReportSent sent) {
    observer = sent;
    void** word = RunsOnWine() ? FindExecutableImport("SetServiceStatus") : nullptr;
    if (word == nullptr || original.load() != nullptr) {
        return;
    }
    // Stored before the replacement can be called from another thread.
    original = reinterpret_cast<SetServiceStatusFunction>(reinterpret_cast<std::uintptr_t>(*word));
    if (ReplaceImport(word, reinterpret_cast<void*>(&SetServiceStatusOnWine)) == nullptr) {
        original = nullptr;
    }
}

bool WaitForHandedOverReports(DWORD limit) {
    Handle newest;
    {
        const ExclusiveLock lock(lastReportLock);
        newest = Duplicate(lastReport);
    }
    return !newest || WaitForSingleObject(newest.Get(), limit) == WAIT_OBJECT_0;
}

}  // namespace dev_controller
