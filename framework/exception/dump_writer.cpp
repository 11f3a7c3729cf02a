#include "framework/exception/dump_writer.h"

#include <cstddef>
#include <cwchar>

#include "framework/exception/crash_trace.h"
#include "framework/logger/internal_trace.h"
#include "framework/system/fail_fast.h"
#include "framework/system/unique_handle.h"
#include "framework/system/wide_format.h"

namespace framework {
namespace {

constexpr std::size_t DumpPathSize = 405;
constexpr DWORD ModulePathSize = 261;

// The start value of dumpType never reaches a dump: the exception filter sets it first.
wchar_t dumpFilePath[DumpPathSize];
std::uint32_t dumpType = MiniDumpWithFullMemory | MiniDumpIgnoreInaccessibleMemory;
HANDLE dumpFile;
std::uint32_t DumpResult;
MINIDUMP_EXCEPTION_INFORMATION DumpExceptionInformation;
HANDLE dumpedProcess;

/// The result is ignored: a text that doesn't parse leaves the value unchanged.
template <class Value>
void Scan(const wchar_t* text, const wchar_t* format, Value& value) {
    if (text == nullptr) {
        FailFastInvalidParameter();
    }
    static_cast<void>(::swscanf_s(text, format, &value));
}

std::uint32_t DumpOpenedProcess(DWORD processId, HANDLE process, DWORD threadId,
                                EXCEPTION_POINTERS* exceptionPointers) {
    wchar_t modulePath[ModulePathSize] = {};
    const DWORD length = ::GetModuleFileNameW(nullptr, modulePath, ModulePathSize);
    if (length == 0 || length == ModulePathSize) {
        const DWORD error = ::GetLastError();
        InternalTrace(LevelError.Bit, L"GetModuleFileNameW failed with error %lu\n", error);
        return error;
    }
    DumpExceptionInformation.ThreadId = threadId;
    DumpExceptionInformation.ExceptionPointers = exceptionPointers;
    // The pointers are addresses in the other process.
    DumpExceptionInformation.ClientPointers = TRUE;
    return WriteDumpFile(&processId, &process, &threadId, &DumpExceptionInformation, modulePath);
}

}  // namespace

void SetDumpTarget(const wchar_t* path, std::uint32_t type) {
    PrintStrict(dumpFilePath, DumpPathSize, L"%s", path);
    dumpType = type;
}

std::uint32_t WriteDumpFile(const DWORD* processId, const HANDLE* processHandle,
                            const DWORD* /*threadId*/,
                            MINIDUMP_EXCEPTION_INFORMATION* exceptionInformation,
                            const wchar_t* defaultPath) {
    DumpResult = ERROR_SUCCESS;
    if (dumpFilePath[0] == 0) {
        PrintStrict(dumpFilePath, DumpPathSize, L"%s.dmp", defaultPath);
    }
    dumpFile = ::CreateFileW(dumpFilePath, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
    if (dumpFile == INVALID_HANDLE_VALUE) {
        DumpResult = ::GetLastError();
        CrashTrace(LevelError.Bit, L"CreateFileW for file %s failed with error %lu\n", dumpFilePath,
                   DumpResult);
    } else if (::MiniDumpWriteDump(*processHandle, *processId, dumpFile,
                                   static_cast<MINIDUMP_TYPE>(dumpType), exceptionInformation,
                                   nullptr, nullptr) != FALSE) {
        CrashTrace(LevelTrace.Bit, L"Minidump written to %s\n", dumpFilePath);
    } else {
        DumpResult = ::GetLastError();
        CrashTrace(LevelError.Bit, L"MiniDumpWriteDump failed with error %lu\n", DumpResult);
    }
    // Closed explicitly: the crash path avoids anything with a destructor. After a failed open this
    // closes the invalid handle, which is harmless.
    if (dumpFile != nullptr) {
        ::CloseHandle(dumpFile);
    }
    return DumpResult;
}

std::uint32_t CreateDumpInThisProcess(const DWORD* processId, const DWORD* threadId,
                                      EXCEPTION_POINTERS* const* exceptionPointers,
                                      const wchar_t* defaultPath) {
    DumpExceptionInformation = {};
    DumpExceptionInformation.ThreadId = *threadId;
    DumpExceptionInformation.ExceptionPointers = *exceptionPointers;
    dumpedProcess = ::GetCurrentProcess();
    return WriteDumpFile(processId, &dumpedProcess, threadId, &DumpExceptionInformation,
                         defaultPath);
}

std::uint32_t CreateDumpInOtherProcess(const wchar_t* processIdText, const wchar_t* threadIdText,
                                       const wchar_t* exceptionPointersText) {
    DWORD processId = 0;
    DWORD threadId = 0;
    void* exceptionPointers = nullptr;
    DumpResult = ERROR_SUCCESS;
    Scan(processIdText, L"%lu", processId);
    Scan(threadIdText, L"%lu", threadId);
    Scan(exceptionPointersText, L"%p", exceptionPointers);

    const KernelHandle process(::OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId));
    if (!process) {
        DumpResult = ::GetLastError();
        InternalTrace(LevelError.Bit, L"OpenProcess for processId %lu failed with error %lu\n",
                      processId, DumpResult);
        return DumpResult;
    }
    const KernelHandle thread(::OpenThread(THREAD_ALL_ACCESS, FALSE, threadId));
    if (!thread) {
        DumpResult = ::GetLastError();
        InternalTrace(LevelError.Bit, L"OpenThread for threadId %lu failed with error %lu\n",
                      threadId, DumpResult);
        return DumpResult;
    }
    dumpedProcess = process.Get();
    DumpResult = DumpOpenedProcess(processId, dumpedProcess, threadId,
                                   static_cast<EXCEPTION_POINTERS*>(exceptionPointers));
    // Nothing in this program suspends the thread: it waits, not suspended, until this process
    // ends. A thread that somebody else suspended is resumed here.
    ::ResumeThread(thread.Get());
    return DumpResult;
}

}  // namespace framework
