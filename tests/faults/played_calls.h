/// What this program plays itself instead of the platform: the service manager, the console's
/// Ctrl+C, the dump library and the passing of time.
#ifndef TESTS_FAULTS_PLAYED_CALLS_H
#define TESTS_FAULTS_PLAYED_CALLS_H

#include <string>

#include "framework/system/platform.h"

// Needs windows.h before it.
#include <dbghelp.h>

namespace faults {

/// Keeps a copy of each handle, so that the manager can wait for a start to be over.
HANDLE WINAPI PlayedCreateThread(SECURITY_ATTRIBUTES* attributes, SIZE_T stack,
                                 LPTHREAD_START_ROUTINE routine, void* parameter, DWORD flags,
                                 DWORD* threadId);
/// What the product has the thread for: " (logic)", " (reporter)", " (action)" or " (retention)";
/// empty if the handle is none of a thread of its own.
[[nodiscard]] const char* UseOfThread(HANDLE thread);

/// One life of a service: ServiceMain, its start to the end, a stop. Comes back as soon as the
/// service is stopped, as the platform's dispatcher does, or when it is clear that it won't be.
BOOL WINAPI PlayedStartServiceCtrlDispatcherW(const SERVICE_TABLE_ENTRYW* table);
SERVICE_STATUS_HANDLE WINAPI PlayedRegisterServiceCtrlHandlerW(const wchar_t* service,
                                                               LPHANDLER_FUNCTION handler);
BOOL WINAPI PlayedSetServiceStatus(SERVICE_STATUS_HANDLE handle, SERVICE_STATUS* status);

/// The program seems to lie in the run's own folder, where a dump without a place of its own goes.
DWORD WINAPI PlayedGetModuleFileNameW(HMODULE module, wchar_t* path, DWORD size);
void SetProgramFolder(const std::wstring& folder);

BOOL WINAPI PlayedSetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);

/// Writes a few bytes: a real dump takes seconds, and what stands in it is not the question.
BOOL WINAPI PlayedMiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file,
                                    MINIDUMP_TYPE type,
                                    MINIDUMP_EXCEPTION_INFORMATION* exceptionInformation,
                                    MINIDUMP_USER_STREAM_INFORMATION* userStreams,
                                    MINIDUMP_CALLBACK_INFORMATION* callback);

/// As if the time had passed.
void WINAPI PlayedSleep(DWORD milliseconds);

/// Waits until no thread is left that the product has started.
void AwaitProductThreads();

/// Presses Ctrl+C when the controller has been activated, and once more if that doesn't help.
void StartAdministrator();

/// Opens the window when the manager asks for the stop, instead of closing it there.
void OpenWindowAtStop();

}  // namespace faults

#endif  // TESTS_FAULTS_PLAYED_CALLS_H
