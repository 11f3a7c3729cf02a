#include "framework/exception/exception_filter.h"

#include <atomic>
#include <cstddef>
#include <mutex>

#include "framework/exception/crash_trace.h"
#include "framework/exception/dump_writer.h"
#include "framework/logger/internal_trace.h"
#include "framework/system/locks.h"
#include "framework/system/wide_format.h"

// No guard against a fault in the callback or in the dump work, a dumper child that hangs, or a
// second pass over the same exception: the lock is recursive, the waits have no limit and there is
// no flag, which is meant. A guard would also hide where the second fault came from.

namespace framework {
namespace {

constexpr DWORD StatusHeapCorruption = 0xC0000374;
constexpr DWORD ModulePathSize = 400;
constexpr std::size_t CommandLineSize = 500;

// Written without a lock, and not together.
constinit std::atomic<PreExceptionCallback> preActionCallback{nullptr};
constinit std::atomic<void*> preActionContext{nullptr};

std::uint8_t useDumperProcess;
void* vectoredHandler;

// Guarded by crashSection.
CriticalSection crashSection;
DWORD crashProcessId;
DWORD crashThreadId;
std::uint32_t WorkError;
wchar_t modulePath[ModulePathSize];
wchar_t commandLine[CommandLineSize];
// Raw handles, closed explicitly: the crash path avoids anything with a destructor. The next dump
// overwrites them.
PROCESS_INFORMATION dumperProcess;
STARTUPINFOW dumperStartup;

void RunPreActionCallback() {
    const PreExceptionCallback callback = preActionCallback.load(std::memory_order_relaxed);
    if (callback == nullptr) {
        return;
    }
    CrashTrace(LevelTrace.Bit, L"ExceptionFilter (Thread %lu): PreActionCallback starts\n",
               crashThreadId);
    callback(preActionContext.load(std::memory_order_relaxed));
    CrashTrace(LevelTrace.Bit, L"ExceptionFilter (Thread %lu): PreActionCallback finished\n",
               crashThreadId);
}

/// Starts this executable as dumper and waits for its end. Whether it wrote a dump isn't checked.
void DumpByChildProcess(EXCEPTION_POINTERS* exceptionPointers) {
    PrintStrict(commandLine, CommandLineSize, L"\"%ls\" -dump %lu %lu %p", modulePath,
                crashProcessId, crashThreadId, exceptionPointers);
    dumperStartup.cb = sizeof(dumperStartup);
    if (::CreateProcessW(nullptr, commandLine, nullptr, nullptr, FALSE, NORMAL_PRIORITY_CLASS,
                         nullptr, nullptr, &dumperStartup, &dumperProcess) == FALSE) {
        WorkError = ::GetLastError();
        CrashTrace(LevelError.Bit,
                   L"ExceptionFilter (Thread %lu): CreateProcessW for dumperProcess failed with "
                   L"error %lu\n",
                   crashThreadId, WorkError);
        return;
    }
    ::WaitForSingleObject(dumperProcess.hProcess, INFINITE);
    if (dumperProcess.hThread != nullptr) {
        ::CloseHandle(dumperProcess.hThread);
    }
    if (dumperProcess.hProcess != nullptr) {
        ::CloseHandle(dumperProcess.hProcess);
    }
}

/// Sets `WorkError`: 0 on success, or if a failed call left 0 as its error.
void MakeDump(EXCEPTION_POINTERS* exceptionPointers) {
    WorkError = ERROR_SUCCESS;
    if (::GetModuleFileNameW(nullptr, modulePath, ModulePathSize) == 0) {
        WorkError = ::GetLastError();
        CrashTrace(LevelTrace.Bit,
                   L"ExceptionFilter (Thread %lu): GetModuleFileNameW failed with error\n",
                   crashThreadId);
        return;
    }
    crashProcessId = ::GetCurrentProcessId();
    CrashTrace(LevelTrace.Bit, L"ExceptionFilter (Thread %lu): start dump creation\n",
               crashThreadId);
    if (useDumperProcess == 1) {
        DumpByChildProcess(exceptionPointers);
        return;
    }
    WorkError =
        CreateDumpInThisProcess(&crashProcessId, &crashThreadId, &exceptionPointers, modulePath);
    if (WorkError != ERROR_SUCCESS) {
        CrashTrace(LevelError.Bit, L"ExceptionFilter (Thread %lu): CreateDumpInThisProcess failed",
                   crashThreadId);
    }
}

}  // namespace

ExceptionFilter::ExceptionFilter(const ExceptionFilterConfig& config) {
    preActionCallback.store(config.preActionCallback, std::memory_order_relaxed);
    preActionContext.store(config.preActionContext, std::memory_order_relaxed);
    useDumperProcess = config.useDumperProcess;
    previousFilter = ::SetUnhandledExceptionFilter(ExceptionProcessing);
    constexpr ULONG First = 1;
    vectoredHandler = ::AddVectoredExceptionHandler(First, VectoredExceptionProcessing);
    SetDumpTarget(config.dumpFilePath, config.dumpType);
    InternalTrace(LevelTrace.Bit, L"ExceptionFilter was created");
}

ExceptionFilter::~ExceptionFilter() {
    ::SetUnhandledExceptionFilter(previousFilter);
    ::RemoveVectoredExceptionHandler(vectoredHandler);
    // Not InternalTrace: a destructor must not throw.
    CrashTrace(LevelTrace.Bit, L"ExceptionFilter was removed");
}

std::uint32_t ExceptionFilter::SetPreExceptionCallback(PreExceptionCallback callback,
                                                       void* context) noexcept {
    preActionCallback.store(callback, std::memory_order_relaxed);
    preActionContext.store(context, std::memory_order_relaxed);
    return 0;
}

void ExceptionFilter::RemovePreExceptionCallback() noexcept {
    preActionCallback.store(nullptr, std::memory_order_relaxed);
    preActionContext.store(nullptr, std::memory_order_relaxed);
}

LONG WINAPI ExceptionFilter::ExceptionProcessing(EXCEPTION_POINTERS* exceptionPointers) {
    // Before the lock: every crashing thread leaves this line, even if it gets no further.
    CrashTrace(LevelError.Bit, L"ExceptionFilter (Thread %lu): exception occur \n",
               ::GetCurrentThreadId());
    const std::lock_guard guard(crashSection);
    crashThreadId = ::GetCurrentThreadId();
    CrashTrace(LevelTrace.Bit, L"ExceptionFilter (Thread %lu): critical section begin\n",
               crashThreadId);
    RunPreActionCallback();
    MakeDump(exceptionPointers);
    if (WorkError != ERROR_SUCCESS) {
        CrashTrace(LevelError.Bit, L"ExceptionFilter (Thread %lu): dump creation failed",
                   crashThreadId);
        return EXCEPTION_CONTINUE_SEARCH;
    }
    CrashTrace(LevelTrace.Bit, L"ExceptionFilter (Thread %lu): successfully finish dump creation",
               crashThreadId);
    ::TerminateProcess(::GetCurrentProcess(), exceptionPointers->ExceptionRecord->ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

LONG WINAPI ExceptionFilter::VectoredExceptionProcessing(EXCEPTION_POINTERS* exceptionPointers) {
    // First and without a line: exceptions that a frame handles arrive here too.
    if (exceptionPointers->ExceptionRecord->ExceptionCode != StatusHeapCorruption) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    CrashTrace(LevelError.Bit, L"VectoredExceptionProcessing occured for heap corruption");
    return ExceptionProcessing(exceptionPointers);
}

}  // namespace framework
