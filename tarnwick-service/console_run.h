#ifndef TARNWICK_SERVICE_CONSOLE_RUN_H
#define TARNWICK_SERVICE_CONSOLE_RUN_H

#include "framework/system/platform.h"
#include "tarnwick-service/service_descriptor.h"

namespace tarnwick {

/// Runs the service object in the foreground until a console event: `OnStart` and `OnStop` run on
/// this thread, without the Service Control Manager; status reports fail. With `test` a sample
/// executable is copied, started after the service, and removed at the end. A failed start ends the
/// run; nothing is logged about it here.
void RunKeldane(const ServiceDescriptor& descriptor, bool test);

/// The console control handler. Every event ends the run. Runs on a thread of the platform.
BOOL WINAPI HandlerRoutine(DWORD controlType);

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_CONSOLE_RUN_H
