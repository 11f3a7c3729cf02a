// The tool chain's header doesn't mark `MiniDumpWriteDump` as imported, so the product calls a
// function of that name and not through `__imp_MiniDumpWriteDump`. A program that hooks the
// platform defines the function too, and the import library stays out of it.

#ifndef _MSC_VER

#include "tests/support/platform_hooks.h"

BOOL WINAPI MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                              PMINIDUMP_EXCEPTION_INFORMATION exception,
                              PMINIDUMP_USER_STREAM_INFORMATION userStreams,
                              PMINIDUMP_CALLBACK_INFORMATION callback) {
    return test::MiniDumpWriteDumpHook::Enter(process, processId, file, type, exception,
                                              userStreams, callback);
}

#endif
