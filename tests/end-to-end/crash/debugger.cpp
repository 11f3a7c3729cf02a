#include "tests/end-to-end/crash/debugger.h"

#include <ostream>
#include <stdexcept>

#include "framework/system/unique_handle.h"

namespace test {

std::ostream& operator<<(std::ostream& out, const DebuggedException& exception) {
    return out << std::hex << "0x" << exception.code << std::dec
               << (exception.firstChance ? " first chance" : " second chance") << " on thread "
               << exception.thread;
}

DebuggedRun DebugToTheEnd(const std::function<void()>& attached, DWORD limitMs) {
    DebuggedRun run;
    bool hasBegun = false;
    for (;;) {
        DEBUG_EVENT event = {};
        if (::WaitForDebugEvent(&event, limitMs) == FALSE) {
            throw std::runtime_error("no debug event in time");
        }
        DWORD answer = DBG_CONTINUE;
        if (event.dwDebugEventCode == CREATE_PROCESS_DEBUG_EVENT) {
            const framework::FileHandle image(event.u.CreateProcessInfo.hFile);
            if (attached) {
                attached();
            }
        } else if (event.dwDebugEventCode == LOAD_DLL_DEBUG_EVENT) {
            const framework::FileHandle image(event.u.LoadDll.hFile);
        } else if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) {
            run.exitCode = event.u.ExitProcess.dwExitCode;
        } else if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT) {
            const EXCEPTION_DEBUG_INFO& exception = event.u.Exception;
            if ((attached || !hasBegun) &&
                exception.ExceptionRecord.ExceptionCode == STATUS_BREAKPOINT) {
                hasBegun = true;
            } else {
                run.exceptions.push_back({exception.ExceptionRecord.ExceptionCode,
                                          exception.dwFirstChance != 0, event.dwThreadId});
                answer = DBG_EXCEPTION_NOT_HANDLED;
            }
        }
        ::ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
        if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) {
            return run;
        }
    }
}

}  // namespace test
