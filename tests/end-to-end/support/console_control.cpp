#include "tests/end-to-end/support/console_control.h"

#include <stdexcept>
#include <string>

#include "framework/system/platform.h"

namespace test {
namespace {

BOOL WINAPI TakeEvent(DWORD /*controlType*/) {
    return TRUE;
}

/// An event goes to all processes of the sender's console, so the sender moves into the target's
/// console. A separate process does this: the test program keeps its console.
int SendCtrlC(const std::vector<std::wstring>& arguments) {
    ::FreeConsole();
    if (::AttachConsole(std::stoul(arguments.at(0))) == FALSE) {
        return static_cast<int>(::GetLastError());
    }
    ::SetConsoleCtrlHandler(TakeEvent, TRUE);
    const bool sent = ::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) != FALSE;
    return sent ? 0 : static_cast<int>(::GetLastError());
}

const ChildRoutine sendCtrlC(L"send-ctrl-c", SendCtrlC);

}  // namespace

ChildOptions WithOwnConsole() {
    // A child ignores Ctrl+C if its parent or an earlier ancestor does.
    ::SetConsoleCtrlHandler(nullptr, FALSE);
    ChildOptions options;
    options.creationFlags = CREATE_NO_WINDOW;
    return options;
}

void PressCtrlC(const Child& child) {
    Child sender(SelfCommandLine(L"send-ctrl-c", {std::to_wstring(child.ProcessId())}));
    const std::uint32_t error = sender.Wait();
    if (error != 0) {
        throw std::runtime_error("Ctrl+C wasn't sent, error " + std::to_string(error));
    }
}

}  // namespace test
