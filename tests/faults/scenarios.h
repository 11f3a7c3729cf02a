/// The scenarios that run with one call failing.
#ifndef TESTS_FAULTS_SCENARIOS_H
#define TESTS_FAULTS_SCENARIOS_H

#include <string>

namespace faults {

/// Runs the scenario in this process, which must end with the result as its exit code. `folder` is
/// an empty folder without a trailing backslash. -1 for an unknown name.
///
///     start      a service up to the manager's request to stop it
///     stop       a service from that request to the end of the process
///     console    a console run, ended by Ctrl+C
///     crash      a console run whose controller writes to a null pointer; from there on
///     dump       a dumper, asked for a dump of its own process
///     usage      a run with a wrong option, which prints how to do it right
///     unpack     a run that unpacks an archive
///     rotation   a logger whose file is switched and compressed twice, to the end of the process
///     retention  a logger that finds expired files and too many of them, to the end of the process
int RunScenario(const std::wstring& name, const std::wstring& folder);

}  // namespace faults

#endif  // TESTS_FAULTS_SCENARIOS_H
