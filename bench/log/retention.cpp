#include <fstream>
#include <string>

#include "bench/log/rows.h"
#include "bench/log/scratch_logger.h"
#include "bench/support/measure.h"
#include "framework/logger/log_retention.h"
#include "framework/system/platform.h"

namespace bench {
namespace {

constexpr std::uint32_t ManyDays = 70;
constexpr std::uint32_t LargeBudget = 0xFFFFFFFF;

void FillFolder(const std::filesystem::path& folder, int files) {
    for (int index = 0; index < files; ++index) {
        std::ofstream(folder / ("quillon-20261120-120000-000." + std::to_string(index) + ".log"))
            << "x";
    }
}

double TimeEnumeration(const std::wstring& search) {
    const double begin = Now();
    WIN32_FIND_DATAW found = {};
    const HANDLE handle = ::FindFirstFileW(search.c_str(), &found);
    while (::FindNextFileW(handle, &found) != FALSE) {
    }
    ::FindClose(handle);
    return Now() - begin;
}

void MeasureFolder(const Effort& effort, int files) {
    const ScratchFolder folder;
    FillFolder(folder.Path(), files);
    const std::wstring directory = folder.Path().wstring() + L"\\";
    Print(Measure(
        "retention over " + std::to_string(files) + " files", effort.Rounds(files < 5000 ? 15 : 6),
        1.25,
        [&directory] {
            const double begin = Now();
            framework::RunLogRetention({directory, L"*.log", ManyDays, LargeBudget});
            return Now() - begin;
        },
        [&directory] { return TimeEnumeration(directory + L"*.log"); }));
}

}  // namespace

void MeasureRetention(const Effort& effort) {
    MeasureFolder(effort, 100);
    MeasureFolder(effort, 1000);
    if (!effort.quick) {
        MeasureFolder(effort, 10000);
    }
}

}  // namespace bench
