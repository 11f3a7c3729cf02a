#include "tools/service-watch/state_text.h"

#include "framework/system/console.h"
#include "tools/shared/service_manager.h"

namespace service_watch {

namespace {

constexpr std::size_t StateWidth = 15;

std::string AcceptedControls(DWORD controls) {
    std::string text;
    const auto add = [&](DWORD bit, const char* name) {
        if ((controls & bit) != 0) {
            text += text.empty() ? name : std::string(", ") + name;
        }
    };
    add(SERVICE_ACCEPT_STOP, "stop");
    add(SERVICE_ACCEPT_SHUTDOWN, "shutdown");
    add(SERVICE_ACCEPT_PAUSE_CONTINUE, "pause");
    return text.empty() ? "nothing" : text;
}

std::string ExitCodeText(const SERVICE_STATUS_PROCESS& status) {
    if (status.dwWin32ExitCode == ERROR_SERVICE_SPECIFIC_ERROR) {
        return std::to_string(status.dwServiceSpecificExitCode) + " (its own)";
    }
    return std::to_string(status.dwWin32ExitCode);
}

}  // namespace

std::string DescribeStatus(const SERVICE_STATUS_PROCESS& status) {
    std::string text = framework::ToUtf8(tools::StateName(status.dwCurrentState));
    text.append(text.size() < StateWidth ? StateWidth - text.size() : 1, ' ');
    if (status.dwCurrentState == SERVICE_STOPPED) {
        return text + "exit code " + ExitCodeText(status);
    }
    text += "accepts " + AcceptedControls(status.dwControlsAccepted);
    if (status.dwCheckPoint != 0) {
        text += ", checkpoint " + std::to_string(status.dwCheckPoint);
    }
    if (status.dwWaitHint != 0) {
        text += ", wait hint " + std::to_string(status.dwWaitHint) + " ms";
    }
    return text;
}

bool SameReport(const SERVICE_STATUS_PROCESS& one, const SERVICE_STATUS_PROCESS& other) noexcept {
    return one.dwCurrentState == other.dwCurrentState &&
           one.dwControlsAccepted == other.dwControlsAccepted &&
           one.dwWin32ExitCode == other.dwWin32ExitCode &&
           one.dwServiceSpecificExitCode == other.dwServiceSpecificExitCode &&
           one.dwCheckPoint == other.dwCheckPoint && one.dwWaitHint == other.dwWaitHint;
}

}  // namespace service_watch
