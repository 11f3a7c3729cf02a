#include "bench/process/child.h"

#include <stdexcept>

#include "bench/process/fault_clock.h"
#include "bench/support/measure.h"
#include "framework/system/unique_handle.h"

namespace bench {
namespace {

using framework::KernelHandle;

constexpr DWORD LimitMs = 120000;

void RunToEnd(const std::filesystem::path& executable, const std::wstring& arguments) {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    const framework::FileHandle nowhere(::CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, 3,
                                                      &inherited, OPEN_EXISTING, 0, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = nowhere.Get();
    startup.hStdError = nowhere.Get();
    std::wstring line = L'"' + executable.wstring() + L"\" " + arguments;
    PROCESS_INFORMATION information = {};
    if (::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                         &startup, &information) == FALSE) {
        throw std::runtime_error("can't start " + executable.string());
    }
    const KernelHandle process(information.hProcess);
    const KernelHandle thread(information.hThread);
    if (::WaitForSingleObject(process.Get(), LimitMs) != WAIT_OBJECT_0) {
        ::TerminateProcess(process.Get(), 1);
        throw std::runtime_error(executable.string() + " didn't end in time");
    }
}

}  // namespace

double TimeProcess(const std::filesystem::path& executable, const std::wstring& arguments) {
    const double begin = Now();
    RunToEnd(executable, arguments);
    return Now() - begin;
}

double TimeCrash(const std::filesystem::path& executable, const std::wstring& arguments) {
    const std::wstring name = L"tarnwick-bench-" + std::to_wstring(::GetCurrentProcessId());
    const KernelHandle section(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                                    0, sizeof(LARGE_INTEGER), name.c_str()));
    auto* const fault =
        static_cast<LARGE_INTEGER*>(::MapViewOfFile(section.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
    fault->QuadPart = 0;
    ::SetEnvironmentVariableW(FaultClockVariable, name.c_str());
    RunToEnd(executable, arguments);
    LARGE_INTEGER end = {};
    ::QueryPerformanceCounter(&end);
    ::SetEnvironmentVariableW(FaultClockVariable, nullptr);
    LARGE_INTEGER frequency = {};
    ::QueryPerformanceFrequency(&frequency);
    const LONGLONG begin = fault->QuadPart;
    ::UnmapViewOfFile(fault);
    if (begin == 0) {
        throw std::runtime_error(executable.string() + " didn't crash");
    }
    return static_cast<double>(end.QuadPart - begin) * 1e9 /
           static_cast<double>(frequency.QuadPart);
}

}  // namespace bench
