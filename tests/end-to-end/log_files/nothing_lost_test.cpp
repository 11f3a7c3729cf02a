// No record of a log call is lost, mixed or moved, however many threads log and however often the
// file is switched.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "framework/logger/logger.h"
#include "tests/end-to-end/log_files/numbered_records.h"
#include "tests/support/child_process.h"
#include "tests/support/scratch_folder.h"

namespace {

constexpr unsigned Threads = 16;
constexpr std::uint32_t RecordsPerThread = 20000;
constexpr std::uint32_t MaxFileSize = 512 * 1024;
constexpr std::size_t FewestRotations = 50;
constexpr DWORD WaitLimitMs = 3600000;

const test::ChildRoutine writer(L"write-and-exit", [](const std::vector<std::wstring>& arguments) {
    framework::Logger& logger = framework::Logger::Instance();
    logger.Configure(test::NumberedRecordsConfig(arguments.at(0) + L"\\", MaxFileSize));
    logger.WriteHeader();
    std::atomic<std::uint32_t> returned[Threads] = {};
    test::WriteNumberedRecords(Threads, static_cast<std::uint32_t>(std::stoul(arguments.at(1))),
                               returned);
    return 0;
});

TEST(LogFiles, SixteenThreadsOverManyRotations_LoseMixAndMoveNothing) {
    const std::uint32_t count =
        RecordsPerThread * test::NumberFromEnvironment("TARNWICK_TEST_ROUNDS", 1);
    const test::ScratchFolder folder;
    test::Child child(test::SelfCommandLine(L"write-and-exit",
                                            {folder.Path().wstring(), std::to_wstring(count)}));
    ASSERT_EQ(child.Wait(WaitLimitMs), 0U);

    const auto files = test::ReadLogFolder(folder.Path());
    ASSERT_GT(files.size(), FewestRotations);
    unsigned expectedNumber = 0;
    for (const auto& [number, file] : files) {
        EXPECT_EQ(number, expectedNumber++);
        EXPECT_TRUE(file.compressed) << number;
        EXPECT_TRUE(file.endsWhole) << number;
        EXPECT_TRUE(file.HasHeader()) << number;
    }
    EXPECT_EQ(files.rbegin()->second.records.back(), L"[T][quillon] End");
    EXPECT_EQ(test::CountNumberedRecords(files, Threads),
              std::vector<std::uint32_t>(Threads, count));
}

}  // namespace
