#ifndef BENCH_PROCESS_FAULT_CLOCK_H
#define BENCH_PROCESS_FAULT_CLOCK_H

#include "framework/system/platform.h"

namespace bench {

/// The environment variable with the name of a section. A program that is to crash writes the
/// performance counter to it just before.
inline constexpr const wchar_t* FaultClockVariable = L"TARNWICK_BENCH_FAULT_CLOCK";

/// Writes the counter and crashes, if the variable is set.
inline void CrashIfAsked() {
    wchar_t name[64] = {};
    if (::GetEnvironmentVariableW(FaultClockVariable, name, 64) == 0) {
        return;
    }
    const HANDLE section = ::OpenFileMappingW(FILE_MAP_WRITE, FALSE, name);
    auto* const clock =
        static_cast<LARGE_INTEGER*>(::MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0));
    if (clock != nullptr) {
        ::QueryPerformanceCounter(clock);
    }
    ::RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr);
}

}  // namespace bench

#endif  // BENCH_PROCESS_FAULT_CLOCK_H
