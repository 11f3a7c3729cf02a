/// A controller library inside this program: writes numbered records through the host, and crashes
/// if a scenario requires it.
#ifndef TESTS_FAULTS_PLAYED_CONTROLLER_H
#define TESTS_FAULTS_PLAYED_CONTROLLER_H

#include <cstdint>

namespace faults {

/// The text of a numbered record, and the number of records that the controller writes during its
/// activation and its deactivation.
constexpr const wchar_t* NumberedText = L"numbered record ";
constexpr std::uint32_t RecordsPerCall = 5;

/// The activation opens the window and writes to an invalid address.
void CrashWhenActivated();

/// The activation is over.
[[nodiscard]] bool ControllerActivated();

/// The run has started to end.
[[nodiscard]] bool ControllerNotified();

}  // namespace faults

#endif  // TESTS_FAULTS_PLAYED_CONTROLLER_H
