/// A look at other processes from outside.
#ifndef TESTS_END_TO_END_SUPPORT_PROCESS_USE_H
#define TESTS_END_TO_END_SUPPORT_PROCESS_USE_H

#include <iosfwd>
#include <string>

#include "framework/system/unique_handle.h"

namespace test {

/// What a process holds that could leak.
struct ProcessUse {
    DWORD handles = 0;
    DWORD threads = 0;

    bool operator==(const ProcessUse&) const = default;
};
std::ostream& operator<<(std::ostream& out, const ProcessUse& use);

[[nodiscard]] ProcessUse UseOf(HANDLE process);

/// Waits until the process uses exactly `expected`: a thread that ends is counted a moment longer
/// than its last line. Returns what it uses at the end.
[[nodiscard]] ProcessUse AwaitUse(HANDLE process, const ProcessUse& expected);

/// Waits until the use has stayed the same for some looks in a row, and returns it.
[[nodiscard]] ProcessUse SettledUse(HANDLE process);

/// The running process of that file name; null if there is none.
[[nodiscard]] framework::KernelHandle ProcessNamed(const std::wstring& fileName);

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_PROCESS_USE_H
