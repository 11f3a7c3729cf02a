#include "tests/end-to-end/console/console_run.h"

#include <sstream>
#include <stdexcept>

#include "tests/end-to-end/support/console_control.h"
#include "tests/end-to-end/support/log_files.h"

namespace test {

ConsoleRun::ConsoleRun(const HostFolder& host, const std::wstring& arguments)
    : host_(host), process_(host.Start(arguments, WithOwnConsole())) {
    std::wistringstream words(arguments);
    std::wstring word;
    while (words >> word) {
        arguments_.push_back(word);
    }
}

void ConsoleRun::AwaitServing() const {
    if (!WaitForRecord(host_.Logs(), StartOver)) {
        throw std::runtime_error("the console run has not started in time");
    }
}

void ConsoleRun::Interrupt() const {
    PressCtrlC(*process_);
}

std::uint32_t ConsoleRun::ServeAndStop() {
    AwaitServing();
    Interrupt();
    return Wait();
}

Records ConsoleRun::Expected(const Records& body) const {
    return WholeLog(process_->ProcessId(), host_.Executable(), arguments_, body);
}

}  // namespace test
