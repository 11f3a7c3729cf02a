#include "tests/tools/controller-check/check_run.h"

#include <sstream>

#include "tests/support/child_process.h"

namespace test {
namespace {

/// The value of a text in a line of the report.
std::string ValueOf(const std::string& line, const std::string& name) {
    const std::string before = '"' + name + "\":\"";
    const std::size_t begin = line.find(before);
    if (begin == std::string::npos) {
        return {};
    }
    const std::size_t from = begin + before.size();
    return line.substr(from, line.find('"', from) - from);
}

}  // namespace

std::string CheckOutcome::LineOf(const std::string& id) const {
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        if (ValueOf(line, "id") == id) {
            return line;
        }
    }
    return {};
}

CheckRun::CheckRun(const wchar_t* library) : library_(folder_.Path() / library) {
    std::filesystem::copy_file(OwnPath().parent_path() / library, library_);
}

void CheckRun::Script(const std::string& lines) const {
    WriteFileBytes(folder_.Path() / L"orrin-ctrl.script", "healthy\n" + lines);
}

CheckOutcome CheckRun::Run(const std::wstring& options) const {
    return RunPlain(L"--json --run 30 --after-free 200 --repeat 1 " + options);
}

CheckOutcome CheckRun::RunPlain(const std::wstring& arguments) const {
    ChildOptions options;
    options.environment.emplace(L"CONTROLLER_FAULT", fault_);
    Child child(L'"' + (OwnPath().parent_path() / L"controller-check.exe").wstring() + L"\" " +
                    arguments + L" \"" + library_.wstring() + L'"',
                options);
    CheckOutcome outcome;
    outcome.exitCode = child.Wait();
    outcome.output = child.Output();
    std::istringstream lines(outcome.output);
    std::string line;
    while (std::getline(lines, line)) {
        const std::string id = ValueOf(line, "id");
        if (!id.empty()) {
            outcome.verdicts[id] = ValueOf(line, "verdict");
            if (outcome.verdicts[id] == "FAIL") {
                outcome.failed.push_back(id);
            }
        }
    }
    return outcome;
}

}  // namespace test
