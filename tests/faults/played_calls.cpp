#include "tests/faults/played_calls.h"

#include <array>
#include <atomic>

#include "framework/logger/logger.h"
#include "tarnwick-service/service_action_record.h"
#include "tests/faults/fault_plan.h"
#include "tests/faults/played_controller.h"

namespace faults {
namespace {

constexpr DWORD SettleLimitMs = 5000;
constexpr DWORD PollMs = 2;
constexpr std::size_t MaxThreads = 64;

struct ProductThread {
    HANDLE handle;  ///< the product's own, which it may have closed
    HANDLE copy;
    const char* use;
};

std::array<ProductThread, MaxThreads> productThreads;
std::atomic<std::size_t> productThreadCount{0};

std::atomic<LPHANDLER_FUNCTION> controlHandler{nullptr};
std::atomic<PHANDLER_ROUTINE> consoleHandler{nullptr};
bool windowOpensAtStop;
std::wstring programPath;

/// Polls until `condition` holds; false if that takes too long.
template <class Condition>
bool Await(const Condition& condition, DWORD limitMs = SettleLimitMs) {
    for (DWORD waited = 0; !condition(); waited += PollMs) {
        if (waited >= limitMs) {
            return false;
        }
        ::Sleep(PollMs);
    }
    return true;
}

DWORD LastState() {
    const RunRecord& record = Record();
    const std::uint32_t count = record.reportCount;
    return count == 0 ? 0 : record.reports[count - 1].state;
}

bool Stopped() {
    return LastState() == SERVICE_STOPPED;
}

bool AllThreadsEnded() {
    const std::size_t count = productThreadCount;
    for (std::size_t index = 0; index < count; ++index) {
        if (::WaitForSingleObject(productThreads[index].copy, 0) != WAIT_OBJECT_0) {
            return false;
        }
    }
    return true;
}

/// Identified by a thread's parameter, because the routines of an action are private.
const char* UseOf(LPTHREAD_START_ROUTINE routine, const void* parameter) {
    if (parameter == nullptr) {
        return " (logic)";
    }
    if (parameter == &framework::Logger::Instance()) {
        return " (retention)";
    }
    const auto& record = *static_cast<const tarnwick::ServiceActionRecord*>(parameter);
    return routine == record.pendingRoutine ? " (reporter)" : " (action)";
}

DWORD WINAPI RunServiceMain(void* table) {
    static_cast<const SERVICE_TABLE_ENTRYW*>(table)->lpServiceProc(0, nullptr);
    return 0;
}

void Settle(bool settled) {
    if (!settled) {
        Record().unsettled = 1;
    }
}

void AskForStop() {
    if (windowOpensAtStop) {
        OpenWindow();
    } else {
        CloseWindow();
    }
    controlHandler.load()(SERVICE_CONTROL_STOP);
    Settle(Await(Stopped, SettleLimitMs / 10));
}

DWORD WINAPI Administrate(void* /*unused*/) {
    constexpr DWORD PatienceMs = 3000;
    Await(ControllerActivated);
    const PHANDLER_ROUTINE handler = consoleHandler;
    if (handler == nullptr) {
        // The platform's action for a program without a handler.
        ::TerminateProcess(::GetCurrentProcess(), STATUS_CONTROL_C_EXIT);
        return 0;
    }
    handler(CTRL_C_EVENT);
    if (Await(ControllerNotified, PatienceMs)) {
        return 0;
    }
    Record().secondPress = 1;
    handler(CTRL_C_EVENT);
    if (!Await(ControllerNotified, PatienceMs)) {
        // The only remaining way.
        ::TerminateProcess(::GetCurrentProcess(), STATUS_CONTROL_C_EXIT);
    }
    return 0;
}

}  // namespace

HANDLE WINAPI PlayedCreateThread(SECURITY_ATTRIBUTES* attributes, SIZE_T stack,
                                 LPTHREAD_START_ROUTINE routine, void* parameter, DWORD flags,
                                 DWORD* threadId) {
    // Before the thread has it, because a record is released when its thread ends.
    const char* const use = UseOf(routine, parameter);
    const HANDLE thread = ::CreateThread(attributes, stack, routine, parameter, flags, threadId);
    HANDLE copy = nullptr;
    if (::DuplicateHandle(::GetCurrentProcess(), thread, ::GetCurrentProcess(), &copy, 0, FALSE,
                          DUPLICATE_SAME_ACCESS) != FALSE) {
        productThreads.at(productThreadCount) = {thread, copy, use};
        ++productThreadCount;
    }
    return thread;
}

// The latest one, because the platform reuses the value of a closed handle.
const char* UseOfThread(HANDLE thread) {
    for (std::size_t index = productThreadCount; index > 0; --index) {
        if (productThreads[index - 1].handle == thread) {
            return productThreads[index - 1].use;
        }
    }
    return "";
}

BOOL WINAPI PlayedStartServiceCtrlDispatcherW(const SERVICE_TABLE_ENTRYW* table) {
    Record().dispatched = 1;
    SERVICE_TABLE_ENTRYW entry = *table;
    const HANDLE serviceMain = ::CreateThread(nullptr, 0, RunServiceMain, &entry, 0, nullptr);
    ::WaitForSingleObject(serviceMain, INFINITE);
    ::CloseHandle(serviceMain);
    if (controlHandler.load() == nullptr) {
        // The manager can't reach the service, and fails after its time limit.
        return TRUE;
    }
    Settle(Await([] { return Stopped() || AllThreadsEnded(); }));
    if (!Stopped()) {
        AskForStop();
    }
    return TRUE;
}

SERVICE_STATUS_HANDLE WINAPI PlayedRegisterServiceCtrlHandlerW(const wchar_t* /*service*/,
                                                               LPHANDLER_FUNCTION handler) {
    controlHandler = handler;
    // Any value except null; only the simulated manager uses it.
    return reinterpret_cast<SERVICE_STATUS_HANDLE>(&controlHandler);
}

BOOL WINAPI PlayedSetServiceStatus(SERVICE_STATUS_HANDLE /*handle*/, SERVICE_STATUS* status) {
    RunRecord& record = Record();
    const std::uint32_t count = record.reportCount;
    if (count < MaxReports) {
        record.reports[count] = {status->dwCurrentState, status->dwWin32ExitCode};
        record.reportCount = count + 1;
    }
    return TRUE;
}

DWORD WINAPI PlayedGetModuleFileNameW(HMODULE /*module*/, wchar_t* path, DWORD size) {
    const std::size_t length = programPath.copy(path, size - 1);
    path[length] = 0;
    return static_cast<DWORD>(length);
}

void SetProgramFolder(const std::wstring& folder) {
    programPath = folder + L"\\tarnwick-service.exe";
}

BOOL WINAPI PlayedSetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL /*add*/) {
    consoleHandler = handler;
    return TRUE;
}

BOOL WINAPI PlayedMiniDumpWriteDump(HANDLE /*process*/, DWORD /*processId*/, HANDLE file,
                                    MINIDUMP_TYPE /*type*/,
                                    MINIDUMP_EXCEPTION_INFORMATION* /*exceptionInformation*/,
                                    MINIDUMP_USER_STREAM_INFORMATION* /*userStreams*/,
                                    MINIDUMP_CALLBACK_INFORMATION* /*callback*/) {
    constexpr char Signature[] = {'M', 'D', 'M', 'P'};
    DWORD written = 0;
    return ::WriteFile(file, Signature, sizeof(Signature), &written, nullptr);
}

void WINAPI PlayedSleep(DWORD /*milliseconds*/) {
    ::Sleep(1);
}

void AwaitProductThreads() {
    Settle(Await(AllThreadsEnded));
}

void StartAdministrator() {
    ::CloseHandle(::CreateThread(nullptr, 0, Administrate, nullptr, 0, nullptr));
}

void OpenWindowAtStop() {
    windowOpensAtStop = true;
}

}  // namespace faults
