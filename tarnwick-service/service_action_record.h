#ifndef TARNWICK_SERVICE_SERVICE_ACTION_RECORD_H
#define TARNWICK_SERVICE_SERVICE_ACTION_RECORD_H

#include <string>

#include "framework/system/platform.h"

namespace tarnwick {

/// One transition that the SCM requests. Each thread of an action owns a copy.
struct ServiceActionRecord {
    DWORD finalState;                       ///< reported on success
    DWORD failureState;                     ///< reported on failure
    DWORD pendingState;                     ///< reported first, while the action runs
    LPTHREAD_START_ROUTINE logicRoutine;    ///< its exit code is the logic's result
    LPTHREAD_START_ROUTINE pendingRoutine;  ///< reports progress while the logic runs
    DWORD waitHint;                         ///< milliseconds, of the pending reports
    DWORD pendingIntervalMs;                ///< between two pending reports
    std::wstring actionName;                ///< the action's name in log lines
    bool finalAtOnce;  ///< `finalState` as soon as the logic thread exists, no pending reporter
};

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_SERVICE_ACTION_RECORD_H
