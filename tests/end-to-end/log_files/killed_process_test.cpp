// What stands in the files when the process is ended by force in the middle of its work.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "framework/logger/logger.h"
#include "framework/system/unique_handle.h"
#include "tests/end-to-end/log_files/numbered_records.h"
#include "tests/support/child_process.h"
#include "tests/support/scratch_folder.h"

namespace {

constexpr unsigned Threads = 4;
constexpr std::uint32_t Rounds = 100;
constexpr std::uint32_t MaxFileSize = 12000;
constexpr std::uint32_t MostRecordsBeforeTheEnd = 2000;
constexpr std::uint32_t LongestDelayMicroseconds = 3000;
constexpr std::uint32_t MoreRecordsThanAnyRun = 100000000;
constexpr DWORD WaitLimitMs = 30000;

struct Unmapper {
    void operator()(void* view) const { ::UnmapViewOfFile(view); }
};

/// How many log calls of each thread have come back: memory that outlives the process that writes.
class Progress {
  public:
    using Counts = std::atomic<std::uint32_t>[Threads];

    explicit Progress(const std::wstring& name)
        : mapping_(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                        sizeof(Counts), name.c_str())),
          view_(::MapViewOfFile(mapping_.Get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Counts))) {}

    [[nodiscard]] std::atomic<std::uint32_t>* Returned() const {
        return *static_cast<Counts*>(view_.get());
    }
    [[nodiscard]] std::uint32_t Total() const {
        return std::accumulate(Returned(), Returned() + Threads, std::uint32_t{0});
    }

  private:
    framework::KernelHandle mapping_;
    std::unique_ptr<void, Unmapper> view_;
};

const test::ChildRoutine writer(L"write-until-killed", [](const std::vector<std::wstring>& args) {
    const Progress progress(args.at(1));
    framework::Logger& logger = framework::Logger::Instance();
    logger.Configure(test::NumberedRecordsConfig(args.at(0) + L"\\", MaxFileSize));
    logger.WriteHeader();
    test::WriteNumberedRecords(Threads, MoreRecordsThanAnyRun, progress.Returned());
    return 0;
});

/// Passes time without leaving the processor, more finely than any wait.
void Spin(std::uint32_t microseconds) {
    LARGE_INTEGER frequency = {};
    LARGE_INTEGER start = {};
    LARGE_INTEGER now = {};
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&start);
    do {
        ::QueryPerformanceCounter(&now);
    } while ((now.QuadPart - start.QuadPart) * 1000000 < microseconds * frequency.QuadPart);
}

/// Starts a writer and ends it by force some time after its log calls have reached `records`.
void RunAndKill(const std::wstring& folder, const std::wstring& name, const Progress& progress,
                std::uint32_t records, std::uint32_t delayMicroseconds) {
    test::Child child(test::SelfCommandLine(L"write-until-killed", {folder, name}));
    const ULONGLONG limit = ::GetTickCount64() + WaitLimitMs;
    while (progress.Total() < records) {
        ASSERT_TRUE(child.Running());
        ASSERT_LT(::GetTickCount64(), limit);
        ::SwitchToThread();
    }
    Spin(delayMicroseconds);
    child.Terminate(99);
    ASSERT_EQ(child.Wait(WaitLimitMs), 99U);
}

void CheckFiles(const std::map<unsigned, test::LogFileContent>& files) {
    ASSERT_FALSE(files.empty());
    const unsigned current = files.rbegin()->first;
    EXPECT_EQ(files.size(), current + 1U) << "a number is missing";
    for (const auto& [number, file] : files) {
        if (number != current) {
            EXPECT_TRUE(file.HasHeader()) << number;
            EXPECT_TRUE(file.endsWhole) << number;
        }
    }
}

void CheckRecords(const std::map<unsigned, test::LogFileContent>& files, const Progress& progress) {
    const std::vector<std::uint32_t> counts = test::CountNumberedRecords(files, Threads);
    for (unsigned thread = 0; thread < Threads; ++thread) {
        const std::uint32_t returned = progress.Returned()[thread];
        EXPECT_GE(counts[thread], returned) << "lost, thread " << thread;
        EXPECT_LE(counts[thread], returned + 1) << "thread " << thread;
    }
}

TEST(LogFiles, ProcessEndedByForceAnywhere_LosesAtMostTheRecordInFlight) {
    const std::uint32_t seed =
        test::NumberFromEnvironment("TARNWICK_TEST_SEED", std::random_device{}());
    std::printf("TARNWICK_TEST_SEED=%u\n", static_cast<unsigned>(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::uint32_t> records(0, MostRecordsBeforeTheEnd);
    std::uniform_int_distribution<std::uint32_t> delay(0, LongestDelayMicroseconds);
    const std::uint32_t rounds = Rounds * test::NumberFromEnvironment("TARNWICK_TEST_ROUNDS", 1);
    for (std::uint32_t round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        const test::ScratchFolder folder;
        const std::wstring name = L"tarnwick-progress-" + std::to_wstring(::GetCurrentProcessId()) +
                                  L"-" + std::to_wstring(round);
        const Progress progress(name);
        RunAndKill(folder.Path().wstring(), name, progress, records(random), delay(random));
        const auto files = test::ReadLogFolder(folder.Path());
        if (!files.empty()) {
            CheckFiles(files);
            CheckRecords(files, progress);
        } else {
            EXPECT_EQ(progress.Total(), 0U);
        }
    }
}

}  // namespace
