/// Every platform call of the product that can fail, with the result and the error of its failure.
/// The build reads the names from here too: they are renamed in a copy of the product's libraries,
/// so that the product's own calls reach this program and the run-time library's don't.
///
///     FAULT_CALL      the platform does the work
///     FAULT_PLAYED    this program plays the platform; see played_calls.h
#ifndef TESTS_FAULTS_FAULT_CALLS_H
#define TESTS_FAULTS_FAULT_CALLS_H

#define FAULT_CALLS(FAULT_CALL, FAULT_PLAYED)                                                 \
    FAULT_CALL(AddVectoredExceptionHandler, nullptr, ERROR_NOT_ENOUGH_MEMORY)                 \
    FAULT_CALL(CloseHandle, FALSE, ERROR_INVALID_HANDLE)                                      \
    FAULT_CALL(CoInitializeEx, E_OUTOFMEMORY, ERROR_OUTOFMEMORY)                              \
    FAULT_CALL(CopyFileW, FALSE, ERROR_DISK_FULL)                                             \
    FAULT_CALL(CreateDirectoryW, FALSE, ERROR_ACCESS_DENIED)                                  \
    FAULT_CALL(CreateEventA, nullptr, ERROR_NOT_ENOUGH_MEMORY)                                \
    FAULT_CALL(CreateFileW, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED)                        \
    FAULT_CALL(CreateProcessW, FALSE, ERROR_NOT_ENOUGH_MEMORY)                                \
    FAULT_PLAYED(CreateThread, nullptr, ERROR_NOT_ENOUGH_MEMORY)                              \
    FAULT_CALL(DeleteFileW, FALSE, ERROR_SHARING_VIOLATION)                                   \
    FAULT_CALL(DeregisterEventSource, FALSE, ERROR_INVALID_HANDLE)                            \
    FAULT_CALL(DeviceIoControl, FALSE, ERROR_INVALID_FUNCTION)                                \
    FAULT_CALL(ExpandEnvironmentStringsW, 0, ERROR_NOT_ENOUGH_MEMORY)                         \
    FAULT_CALL(FindClose, FALSE, ERROR_INVALID_HANDLE)                                        \
    FAULT_CALL(FindFirstFileW, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED)                     \
    FAULT_CALL(FindNextFileW, FALSE, ERROR_ACCESS_DENIED)                                     \
    FAULT_CALL(FlushFileBuffers, FALSE, ERROR_DISK_FULL)                                      \
    FAULT_CALL(GetConsoleMode, FALSE, ERROR_INVALID_HANDLE)                                   \
    FAULT_CALL(GetExitCodeThread, FALSE, ERROR_INVALID_HANDLE)                                \
    FAULT_PLAYED(GetModuleFileNameW, 0, ERROR_NOT_ENOUGH_MEMORY)                              \
    FAULT_CALL(GetStdHandle, INVALID_HANDLE_VALUE, ERROR_INVALID_HANDLE)                      \
    FAULT_CALL(OpenProcess, nullptr, ERROR_ACCESS_DENIED)                                     \
    FAULT_CALL(OpenThread, nullptr, ERROR_ACCESS_DENIED)                                      \
    FAULT_CALL(OpenThreadToken, FALSE, ERROR_ACCESS_DENIED)                                   \
    FAULT_CALL(PathAppendW, FALSE, ERROR_FILENAME_EXCED_RANGE)                                \
    FAULT_CALL(PathRemoveFileSpecW, FALSE, ERROR_INVALID_PARAMETER)                           \
    FAULT_CALL(ReadFile, FALSE, ERROR_READ_FAULT)                                             \
    FAULT_CALL(RegCloseKey, ERROR_INVALID_HANDLE, ERROR_INVALID_HANDLE)                       \
    FAULT_CALL(RegCreateKeyExW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED)                     \
    FAULT_CALL(RegDeleteValueW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED)                     \
    FAULT_CALL(RegNotifyChangeKeyValue, ERROR_INVALID_HANDLE, ERROR_INVALID_HANDLE)           \
    FAULT_CALL(RegOpenKeyExW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED)                       \
    FAULT_CALL(RegOpenKeyW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED)                         \
    FAULT_CALL(RegQueryValueExW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED)                    \
    FAULT_CALL(RegSetValueExW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED)                      \
    FAULT_CALL(RegisterEventSourceW, nullptr, ERROR_ACCESS_DENIED)                            \
    FAULT_PLAYED(RegisterServiceCtrlHandlerW, nullptr, ERROR_SERVICE_NOT_IN_EXE)              \
    FAULT_CALL(RemoveVectoredExceptionHandler, 0, ERROR_INVALID_PARAMETER)                    \
    FAULT_CALL(ReportEventW, FALSE, ERROR_ACCESS_DENIED)                                      \
    FAULT_CALL(ResetEvent, FALSE, ERROR_INVALID_HANDLE)                                       \
    FAULT_CALL(ResumeThread, static_cast<DWORD>(-1), ERROR_INVALID_HANDLE)                    \
    FAULT_PLAYED(SetConsoleCtrlHandler, FALSE, ERROR_NOT_ENOUGH_MEMORY)                       \
    FAULT_CALL(SetEvent, FALSE, ERROR_INVALID_HANDLE)                                         \
    FAULT_PLAYED(SetServiceStatus, FALSE, ERROR_INVALID_HANDLE)                               \
    FAULT_CALL(SetUnhandledExceptionFilter, nullptr, ERROR_SUCCESS)                           \
    FAULT_PLAYED(StartServiceCtrlDispatcherW, FALSE, ERROR_FAILED_SERVICE_CONTROLLER_CONNECT) \
    FAULT_CALL(SystemTimeToFileTime, FALSE, ERROR_INVALID_PARAMETER)                          \
    FAULT_CALL(SystemTimeToTzSpecificLocalTime, FALSE, ERROR_INVALID_PARAMETER)               \
    FAULT_CALL(TerminateProcess, FALSE, ERROR_ACCESS_DENIED)                                  \
    FAULT_CALL(WaitForMultipleObjects, WAIT_FAILED, ERROR_INVALID_HANDLE)                     \
    FAULT_CALL(WaitForSingleObject, WAIT_FAILED, ERROR_INVALID_HANDLE)                        \
    FAULT_CALL(WideCharToMultiByte, 0, ERROR_INSUFFICIENT_BUFFER)                             \
    FAULT_CALL(WriteConsoleW, FALSE, ERROR_INVALID_HANDLE)                                    \
    FAULT_CALL(WriteFile, FALSE, ERROR_DISK_FULL)

/// Calls without an import pointer: zlib's, which is linked in, and one that its header declares as
/// a plain function.
#define FAULT_DIRECT_CALLS(FAULT_CALL, FAULT_PLAYED)             \
    FAULT_PLAYED(MiniDumpWriteDump, FALSE, ERROR_INVALID_HANDLE) \
    FAULT_CALL(gzclose, Z_ERRNO, ERROR_DISK_FULL)                \
    FAULT_CALL(gzopen, nullptr, ERROR_ACCESS_DENIED)             \
    FAULT_CALL(gzwrite, 0, ERROR_DISK_FULL)

#endif  // TESTS_FAULTS_FAULT_CALLS_H
