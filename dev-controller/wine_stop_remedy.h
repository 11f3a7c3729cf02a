#ifndef DEV_CONTROLLER_WINE_STOP_REMEDY_H
#define DEV_CONTROLLER_WINE_STOP_REMEDY_H

#include "dev-controller/platform.h"

namespace dev_controller {

/// Wine runs a service's control handler with its service lock held, and a SERVICE_STOPPED report
/// from another thread takes that lock. A handler that waits for the thread that reports, which is
/// sound on Windows, therefore hangs on Wine until the service manager gives up.
///
/// The remedy replaces the executable's import of `SetServiceStatus`: a SERVICE_STOPPED report is
/// handed to a thread of its own, which sends it, and the caller gets TRUE at once. Every other
/// report, and one without a service handle, goes straight through with its own result.

/// True if the process runs on Wine.
[[nodiscard]] bool RunsOnWine();

/// Told of each handed-over report once it was sent, on the thread that sent it.
using ReportSent = void (*)(const SERVICE_STATUS& status, bool success, DWORD error);

/// Puts the remedy in place, on Wine only; elsewhere, and if the executable does not report status
/// at all, it does nothing. A second call changes nothing but `sent`, which may be null. Call it
/// before the service starts, best when the library is attached to the process.
void InstallWineStopRemedy(ReportSent sent);

/// Waits until every report handed over so far was sent, at most `limit` milliseconds. Returns
/// false if one is still under way. Call it before the process can end: a thread that is cut off by
/// the end of the process never sends its report.
bool WaitForHandedOverReports(DWORD limit);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_WINE_STOP_REMEDY_H
