#ifndef TARNWICK_SERVICE_CONSOLE_RUN_H
#define TARNWICK_SERVICE_CONSOLE_RUN_H

#include "framework/system/platform.h"
#include "tarnwick-service/service_descriptor.h"

namespace tarnwick {

/// Runs the service's object in the foreground until a console event comes: `OnStart` and `OnStop`
/// on this thread, no Service Control Manager, no status but in failing reports. With `test` a
/// sample executable is copied, started once the service has started, and removed at the end.
/// A start that fails ends the run without a word.
void RunKeldane(const ServiceDescriptor& descriptor, bool test);

/// The console control handler; every event ends the run. Runs on a thread of the platform's.
BOOL WINAPI HandlerRoutine(DWORD controlType);

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_CONSOLE_RUN_H
