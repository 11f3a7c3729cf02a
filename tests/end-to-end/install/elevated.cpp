// elevated.exe COMMAND...: runs the command with the rights of an administrator on every version of
// Wine, and ends with its exit code; with 1 if it can't be started.

#include <shlwapi.h>

#include <string>

#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"
#include "tests/support/elevation.h"

int wmain() {
    test::TakeAdministratorRightsOnWine();
    std::wstring command = ::PathGetArgsW(::GetCommandLineW());
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information = {};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                          &startup, &information)) {
        return 1;
    }
    const framework::KernelHandle process(information.hProcess);
    const framework::KernelHandle thread(information.hThread);
    DWORD exitCode = 1;
    ::WaitForSingleObject(process.Get(), INFINITE);
    ::GetExitCodeProcess(process.Get(), &exitCode);
    return static_cast<int>(exitCode);
}
