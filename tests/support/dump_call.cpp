// A hook for `MiniDumpWriteDump`, whose declaration is not marked as imported in the Windows SDK
// and in most versions of MinGW-w64: the product then calls a function of that name, not through
// `__imp_MiniDumpWriteDump`. The import library defines both in one object. Defining only one of
// them here would pull that object in and define the other one twice.
//
// The declaration is renamed in this file, so that this definition can't contradict a header that
// marks it as imported.
#define MiniDumpWriteDump DeclaredMiniDumpWriteDump
#include "tests/support/platform_hooks.h"
#undef MiniDumpWriteDump

extern "C" BOOL WINAPI MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file,
                                         MINIDUMP_TYPE type,
                                         PMINIDUMP_EXCEPTION_INFORMATION exception,
                                         PMINIDUMP_USER_STREAM_INFORMATION userStreams,
                                         PMINIDUMP_CALLBACK_INFORMATION callback) {
    return test::MiniDumpWriteDumpHook::Enter(process, processId, file, type, exception,
                                              userStreams, callback);
}
