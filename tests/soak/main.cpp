// soak-run SECONDS LIFE FOLDER LOGS TABLE: runs FOLDER\tarnwick-service.exe as a service for
// SECONDS, restarts it every LIFE seconds, and writes a line to TABLE each second. The exit code is
// 0 if every start and stop succeeded.

#include <chrono>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "tests/soak/sample.h"
#include "tools/service-watch/managed_service.h"

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
using service_watch::ManagedService;

constexpr const wchar_t* ServiceName = L"TarnwickSoak";
constexpr DWORD PollMs = 20;
constexpr DWORD SampleMs = 1000;
constexpr ULONGLONG LimitMs = 60000;

struct Plan {
    double seconds;
    double life;
    std::filesystem::path executable;
    std::filesystem::path logs;
    std::filesystem::path table;
};

void Require(bool held, const std::string& what, DWORD error) {
    if (!held) {
        throw std::runtime_error(what + ", error " + std::to_string(error));
    }
}

SERVICE_STATUS_PROCESS AwaitState(const ManagedService& service, DWORD state) {
    const ULONGLONG end = ::GetTickCount64() + LimitMs;
    for (;;) {
        const auto status = service.Query();
        if (status && status->dwCurrentState == state) {
            return *status;
        }
        Require(::GetTickCount64() < end,
                "the service doesn't reach state " + std::to_string(state), 0);
        ::Sleep(PollMs);
    }
}

/// The stop is refused until the components allow it.
void Stop(const ManagedService& service) {
    const ULONGLONG end = ::GetTickCount64() + LimitMs;
    DWORD error = service.Stop();
    while (error != ERROR_SUCCESS && ::GetTickCount64() < end) {
        ::Sleep(PollMs);
        error = service.Stop();
    }
    Require(error == ERROR_SUCCESS, "the stop failed", error);
}

/// One life of the service: start, a sample each second until `end`, stop. The process must end
/// with 0 and the service without an error.
void Live(const ManagedService& service, const Plan& plan, unsigned generation,
          Clock::time_point begin, Clock::time_point end, std::ostream& table) {
    const DWORD error = service.Start();
    Require(error == ERROR_SUCCESS, "the start failed", error);
    const DWORD processId = AwaitState(service, SERVICE_RUNNING).dwProcessId;
    const framework::KernelHandle process(::OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId));
    Require(static_cast<bool>(process), "no process", ::GetLastError());
    while (Clock::now() < end) {
        soak::Sample sample = soak::TakeSample(process.Get(), plan.executable.string(), plan.logs);
        sample.seconds = Seconds(Clock::now() - begin).count();
        sample.generation = generation;
        // A process that has just started has no measurable memory yet.
        if (sample.privateBytes > 0) {
            soak::Print(sample, table);
        }
        const DWORD waited = ::WaitForSingleObject(process.Get(), SampleMs);
        Require(waited == WAIT_TIMEOUT, "the process ended by itself", waited);
    }
    Stop(service);
    const DWORD serviceError = AwaitState(service, SERVICE_STOPPED).dwWin32ExitCode;
    Require(serviceError == ERROR_SUCCESS, "the service ended with an error", serviceError);
    Require(::WaitForSingleObject(process.Get(), LimitMs) == WAIT_OBJECT_0,
            "the process doesn't end", 0);
    DWORD exitCode = 0;
    ::GetExitCodeProcess(process.Get(), &exitCode);
    Require(exitCode == 0, "the process's exit code", exitCode);
}

void Run(const Plan& plan) {
    ManagedService service(ServiceName);
    Require(service.ManagerError() == ERROR_SUCCESS, "no manager", service.ManagerError());
    static_cast<void>(service.Remove());
    const DWORD error = service.Register(plan.executable.wstring());
    Require(error == ERROR_SUCCESS, "the service can't be registered", error);
    std::ofstream table(plan.table);
    soak::PrintHead(table);
    const auto begin = Clock::now();
    const auto at = [&](double seconds) {
        return begin + std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
    };
    try {
        for (unsigned generation = 1; (generation - 1) * plan.life < plan.seconds; ++generation) {
            Live(service, plan, generation, begin, at(generation * plan.life), table);
        }
    } catch (...) {
        static_cast<void>(service.Remove());
        throw;
    }
    Require(service.Remove() == ERROR_SUCCESS, "the service can't be removed", ::GetLastError());
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    constexpr int Arguments = 6;
    if (argc != Arguments) {
        std::cerr << "usage: soak-run SECONDS LIFE FOLDER LOGS TABLE\n";
        return 2;
    }
    try {
        // No other command line has the whole path, not even this program's own.
        const auto executable = std::filesystem::absolute(argv[3]) / L"tarnwick-service.exe";
        Run({std::stod(argv[1]), std::stod(argv[2]), executable, argv[4], argv[5]});
    } catch (const std::exception& error) {
        std::cerr << "soak-run: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
