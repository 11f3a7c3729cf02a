/// The resource use of other processes.
#ifndef TESTS_END_TO_END_SUPPORT_PROCESS_USE_H
#define TESTS_END_TO_END_SUPPORT_PROCESS_USE_H

#include <iosfwd>
#include <string>

#include "framework/system/unique_handle.h"

namespace test {

/// The resources of a process that could leak.
struct ProcessUse {
    DWORD handles = 0;
    DWORD threads = 0;

    bool operator==(const ProcessUse&) const = default;
};
std::ostream& operator<<(std::ostream& out, const ProcessUse& use);

[[nodiscard]] ProcessUse UseOf(HANDLE process);

/// Waits until the process uses exactly `expected`, because an ending thread still counts for a
/// moment after its last line. Returns the final use.
[[nodiscard]] ProcessUse AwaitUse(HANDLE process, const ProcessUse& expected);

/// Waits until several measurements in a row are equal, and returns the last one.
[[nodiscard]] ProcessUse SettledUse(HANDLE process);

/// The running process with that file name; null if there is none.
[[nodiscard]] framework::KernelHandle ProcessNamed(const std::wstring& fileName);

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_PROCESS_USE_H
