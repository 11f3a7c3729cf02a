// A program whose crash only writes a dump.

#include <string>

#include "bench/process/fault_clock.h"
#include "bench/process/same_imports.h"

// Needs windows.h before it.
#include <dbghelp.h>

namespace {

LONG WINAPI WriteDump(EXCEPTION_POINTERS* pointers) {
    wchar_t folder[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, folder);
    const std::wstring path = folder + std::wstring(L"bare-crash.dmp");
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    MINIDUMP_EXCEPTION_INFORMATION information = {};
    information.ThreadId = ::GetCurrentThreadId();
    information.ExceptionPointers = pointers;
    ::MiniDumpWriteDump(::GetCurrentProcess(), ::GetCurrentProcessId(), file, MiniDumpNormal,
                        &information, nullptr, nullptr);
    ::CloseHandle(file);
    ::TerminateProcess(::GetCurrentProcess(), pointers->ExceptionRecord->ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

int main() {
    if (bench::UseSameImports()) {
        return 1;
    }
    ::SetUnhandledExceptionFilter(WriteDump);
    bench::CrashIfAsked();
    return 0;
}
