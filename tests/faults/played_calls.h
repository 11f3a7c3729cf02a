/// Simulations in place of the platform: the service manager, the console's Ctrl+C, the dump
/// library and the passing of time.
#ifndef TESTS_FAULTS_PLAYED_CALLS_H
#define TESTS_FAULTS_PLAYED_CALLS_H

#include <string>

#include "framework/system/platform.h"

// Needs windows.h before it.
#include <dbghelp.h>

namespace faults {

/// Keeps a copy of each handle, so that the manager can wait for the end of a start.
HANDLE WINAPI PlayedCreateThread(SECURITY_ATTRIBUTES* attributes, SIZE_T stack,
                                 LPTHREAD_START_ROUTINE routine, void* parameter, DWORD flags,
                                 DWORD* threadId);
/// The product's use of the thread: " (logic)", " (reporter)", " (action)" or " (retention)"; empty
/// if the handle isn't one of its threads.
[[nodiscard]] const char* UseOfThread(HANDLE thread);

/// One life of a service: ServiceMain, its start to the end, a stop. Returns as soon as the service
/// is stopped, like the platform's dispatcher, or if it can't be stopped any more.
BOOL WINAPI PlayedStartServiceCtrlDispatcherW(const SERVICE_TABLE_ENTRYW* table);
SERVICE_STATUS_HANDLE WINAPI PlayedRegisterServiceCtrlHandlerW(const wchar_t* service,
                                                               LPHANDLER_FUNCTION handler);
BOOL WINAPI PlayedSetServiceStatus(SERVICE_STATUS_HANDLE handle, SERVICE_STATUS* status);

/// The program's path is in the run's own folder, where a dump without its own path goes.
DWORD WINAPI PlayedGetModuleFileNameW(HMODULE module, wchar_t* path, DWORD size);
void SetProgramFolder(const std::wstring& folder);

BOOL WINAPI PlayedSetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);

/// Writes a few bytes, because a real dump takes seconds and its contents don't matter here.
BOOL WINAPI PlayedMiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file,
                                    MINIDUMP_TYPE type,
                                    MINIDUMP_EXCEPTION_INFORMATION* exceptionInformation,
                                    MINIDUMP_USER_STREAM_INFORMATION* userStreams,
                                    MINIDUMP_CALLBACK_INFORMATION* callback);

/// Advances the time.
void WINAPI PlayedSleep(DWORD milliseconds);

/// Waits until no thread of the product is left.
void AwaitProductThreads();

/// Sends Ctrl+C after the activation of the controller, and again if that has no effect.
void StartAdministrator();

/// Opens the window when the manager requests the stop, instead of closing it there.
void OpenWindowAtStop();

}  // namespace faults

#endif  // TESTS_FAULTS_PLAYED_CALLS_H
