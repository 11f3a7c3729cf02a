#ifndef DEV_CONTROLLER_WINE_STOP_REMEDY_H
#define DEV_CONTROLLER_WINE_STOP_REMEDY_H

#include "dev-controller/platform.h"

namespace dev_controller {

/// Wine calls a service's control handler with its service lock held, and a SERVICE_STOPPED report
/// from another thread takes that lock. A handler that waits for the reporting thread, which works
/// on Windows, therefore hangs on Wine until the service manager times out.
///
/// The remedy replaces the executable's import of `SetServiceStatus`. A SERVICE_STOPPED report is
/// sent by a separate thread, and the caller gets TRUE immediately. All other reports, and those
/// without a service handle, are passed on unchanged.

/// True if the process runs on Wine.
[[nodiscard]] bool RunsOnWine();

/// Called after each such report, on the thread that sent it.
using ReportSent = void (*)(const SERVICE_STATUS& status, bool success, DWORD error);

/// Installs the remedy. Does nothing except on Wine, or if the executable doesn't import
/// `SetServiceStatus`. A second call only replaces `sent`, which may be null. Call it before the
/// service starts, preferably when the library is attached to the process.
void InstallWineStopRemedy(ReportSent sent);

/// Waits until all reports so far have been sent, at most `limit` milliseconds. Returns false on a
/// timeout. Call it before the process can end, because the end of the process kills the thread
/// that sends the report.
bool WaitForHandedOverReports(DWORD limit);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_WINE_STOP_REMEDY_H
