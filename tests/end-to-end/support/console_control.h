/// Console events for a process with its own console.
#ifndef TESTS_END_TO_END_SUPPORT_CONSOLE_CONTROL_H
#define TESTS_END_TO_END_SUPPORT_CONSOLE_CONTROL_H

#include "tests/support/child_process.h"

namespace test {

/// Options that give a child its own console, without a window.
[[nodiscard]] ChildOptions WithOwnConsole();

/// Sends Ctrl+C to the console of a child that was started `WithOwnConsole`. Every process in that
/// console gets the event. Throws if it can't be sent.
void PressCtrlC(const Child& child);

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_CONSOLE_CONTROL_H
