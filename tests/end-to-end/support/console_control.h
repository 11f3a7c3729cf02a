/// Console events for a process that has a console of its own.
#ifndef TESTS_END_TO_END_SUPPORT_CONSOLE_CONTROL_H
#define TESTS_END_TO_END_SUPPORT_CONSOLE_CONTROL_H

#include "tests/support/child_process.h"

namespace test {

/// Options that give a child a console of its own, without a window.
[[nodiscard]] ChildOptions WithOwnConsole();

/// Presses Ctrl+C in the console of a child that was started `WithOwnConsole`. Everything that runs
/// in that console gets the event. Throws if it can't be sent.
void PressCtrlC(const Child& child);

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_CONSOLE_CONTROL_H
