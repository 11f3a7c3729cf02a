// Measures the executable as it ships: as a service, as a process and in a crash. The named folder
// must contain it and the silent controller library.

#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>

#include "bench/process/child.h"
#include "bench/process/scm.h"
#include "bench/process/unix_view.h"
#include "bench/support/measure.h"

namespace bench {
namespace {

constexpr double PendingReporterNs = 100e6;

std::filesystem::path folder;
bool quick;

int Rounds(int usual) {
    return quick ? 1 : usual;
}

double CpuNs(HANDLE process) {
    FILETIME times[4] = {};
    ::GetProcessTimes(process, &times[0], &times[1], &times[2], &times[3]);
    const auto ticks = [](const FILETIME& time) {
        return static_cast<double>((static_cast<unsigned long long>(time.dwHighDateTime) << 32) |
                                   time.dwLowDateTime);
    };
    return (ticks(times[2]) + ticks(times[3])) * 100;
}

/// A row of single values; reached if the product's value isn't above the limit.
void PrintSingle(const std::string& name, double product, double limit, const char* remark) {
    Row row;
    row.name = name;
    row.reach = 1;
    row.product = {product, product, product};
    row.limit = {limit, limit, limit};
    row.remark = remark;
    Print(row);
}

void MeasureServices() {
    Service product(L"VelmoraTarnwickService", folder / "tarnwick-service.exe");
    Service limit(L"VelmoraTarnwickBench", folder / "null-service.exe");

    const auto start = [](Service& service) {
        const double time = service.TimeStart();
        service.TimeStop();
        return time;
    };
    Print(Measure(
        "start to SERVICE_RUNNING", Rounds(10), 1.25, [&] { return start(product); },
        [&] { return start(limit); }));

    const auto stop = [](Service& service) {
        service.TimeStart();
        return service.TimeStop();
    };
    Row stopRow = Measure(
        "stop to process end", Rounds(10), 1.15, [&] { return stop(product); },
        [&] { return stop(limit) + PendingReporterNs; });
    stopRow.remark = "the limit holds the reporter's 100 ms";
    Print(stopRow);

    product.TimeStart();
    limit.TimeStart();
    const framework::KernelHandle productProcess = product.OpenProcess();
    const framework::KernelHandle limitProcess = limit.OpenProcess();
    constexpr DWORD SettleMs = 1000;
    ::Sleep(SettleMs);
    const std::string productName = "bench\\tarnwick-service.exe";
    const std::string limitName = "bench\\null-service.exe";
    const UnixFigures productFirst = LookAtUnixProcess(productName);
    const UnixFigures limitFirst = LookAtUnixProcess(limitName);
    if (productFirst.found && limitFirst.found) {
        PrintSingle("private memory of the idle service beyond that of the do-nothing service",
                    productFirst.privateBytes - limitFirst.privateBytes, 1024.0 * 1024.0, "bytes");
    }
    const double productBefore = CpuNs(productProcess.Get());
    const double limitBefore = CpuNs(limitProcess.Get());
    const DWORD idleMs = quick ? 1000 : 60000;
    ::Sleep(idleMs);
    PrintSingle("idle CPU time", CpuNs(productProcess.Get()) - productBefore,
                CpuNs(limitProcess.Get()) - limitBefore,
                quick ? "over 1 s" : "over 60 s, silent components");
    if (productFirst.found && limitFirst.found) {
        PrintSingle("idle context switches",
                    LookAtUnixProcess(productName).contextSwitches - productFirst.contextSwitches,
                    LookAtUnixProcess(limitName).contextSwitches - limitFirst.contextSwitches,
                    quick ? "count over 1 s" : "count over 60 s, silent components");
    }
    product.TimeStop();
    limit.TimeStop();
}

void MeasureProcesses() {
    const std::filesystem::path product = folder / "tarnwick-service.exe";
    Print(Measure(
        "usage run, process start to end", Rounds(15), 1.15,
        [&] { return TimeProcess(product, L"-foo"); },
        [&] { return TimeProcess(folder / "bare-program.exe", L""); }));
    Print(Measure(
        "fault to process end", Rounds(4), 1.05, [&] { return TimeCrash(product, L"-run"); },
        [&] { return TimeCrash(folder / "bare-crash.exe", L""); }));
    PrintSingle("size of the executable", static_cast<double>(std::filesystem::file_size(product)),
                1024.0 * 1024.0, "bytes");
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    for (int index = 1; index < argc; ++index) {
        if (std::strcmp(argv[index], "--quick") == 0) {
            bench::quick = true;
        } else {
            bench::folder = argv[index];
        }
    }
    try {
        bench::MeasureProcesses();
        bench::MeasureServices();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench-process: %s\n", error.what());
        return 1;
    }
    return 0;
}
