/// A controller library inside of this program: writes numbered records through the host, and
/// crashes if a scenario wants it.
#ifndef TESTS_FAULTS_PLAYED_CONTROLLER_H
#define TESTS_FAULTS_PLAYED_CONTROLLER_H

#include <cstdint>

namespace faults {

/// The text of a numbered record, and how many the controller writes when it is activated and when
/// it is deactivated.
constexpr const wchar_t* NumberedText = L"numbered record ";
constexpr std::uint32_t RecordsPerCall = 5;

/// The activation opens the window and writes to a null pointer.
void CrashWhenActivated();

/// The activation is over.
[[nodiscard]] bool ControllerActivated();

/// The run has begun to end.
[[nodiscard]] bool ControllerNotified();

}  // namespace faults

#endif  // TESTS_FAULTS_PLAYED_CONTROLLER_H
