#ifndef TARNWICK_SERVICE_EVENT_LOG_ENTRY_H
#define TARNWICK_SERVICE_EVENT_LOG_ENTRY_H

#include "framework/system/platform.h"
#include "framework/system/wide_format.h"

namespace tarnwick {

/// The untyped half of `WriteEventLogEntry`. A null format ends the process
/// (`FailFastInvalidParameter`).
void WriteEventLogEntryUnchecked(WORD eventType, const wchar_t* format, ...);

/// Writes one entry to the system event log, under the service's name as source. `eventType` is one
/// of the EVENTLOG_... types. Any thread, no lock.
///
/// A message has at most 999 characters; a longer or an empty one is not written, which is told on
/// standard output. Without a service object, or when the event log refuses, nothing is written or
/// told.
template <class... Args>
void WriteEventLogEntry(WORD eventType, framework::FormatFor<Args...> format, Args... args) {
    WriteEventLogEntryUnchecked(eventType, format.Text(), args...);
}

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_EVENT_LOG_ENTRY_H
