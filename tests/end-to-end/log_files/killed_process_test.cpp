// The contents of the files after the process is killed at work.

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "framework/logger/logger.h"
#include "tests/end-to-end/log_files/numbered_records.h"
#include "tests/end-to-end/log_files/progress.h"
#include "tests/support/child_process.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/unique_name.h"

namespace {

constexpr std::uint32_t Rounds = 100;
constexpr std::uint32_t MaxFileSize = 12000;
constexpr std::uint32_t MostRecordsBeforeTheEnd = 2000;
constexpr std::uint32_t LongestDelayMicroseconds = 3000;
constexpr std::uint32_t MoreRecordsThanAnyRun = 100000000;
constexpr DWORD WaitLimitMs = 30000;

const test::ChildRoutine writer(L"write-until-killed", [](const std::vector<std::wstring>& args) {
    const test::Progress progress(args.at(1));
    framework::Logger& logger = framework::Logger::Instance();
    logger.Configure(test::NumberedRecordsConfig(args.at(0) + L"\\", MaxFileSize));
    logger.WriteHeader();
    test::WriteNumberedRecords(test::Progress::Threads, MoreRecordsThanAnyRun, progress.Returned());
    return 0;
});

/// Waits without yielding the processor, more precisely than any platform wait.
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

/// Starts a writer and kills it some time after its log calls have reached `records`.
void RunAndKill(const std::wstring& folder, const std::wstring& name,
                const test::Progress& progress, std::uint32_t records,
                std::uint32_t delayMicroseconds) {
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

TEST(LogFiles, ProcessEndedByForceAnywhere_LosesAtMostTheRecordInFlight) {
    const std::uint32_t seed = test::NumberFromEnvironment("TARNWICK_SEED", std::random_device{}());
    std::printf("TARNWICK_SEED=%u\n", static_cast<unsigned>(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::uint32_t> records(0, MostRecordsBeforeTheEnd);
    std::uniform_int_distribution<std::uint32_t> delay(0, LongestDelayMicroseconds);
    const std::uint32_t rounds = Rounds * test::NumberFromEnvironment("TARNWICK_TEST_ROUNDS", 1);
    for (std::uint32_t round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        const test::ScratchFolder folder;
        const std::wstring name = test::UniqueName(L"tarnwick-progress");
        const test::Progress progress(name);
        RunAndKill(folder.Path().wstring(), name, progress, records(random), delay(random));
        const auto files = test::ReadLogFolder(folder.Path());
        if (!files.empty()) {
            test::CheckFilesBeforeTheLast(files);
            test::CheckNothingLost(files, progress);
        } else {
            EXPECT_EQ(progress.Total(), 0U);
        }
    }
}

}  // namespace
