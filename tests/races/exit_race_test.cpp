// The end of the process while threads still log. Shutdown takes no lock, because no other thread
// should log by then. Records of such a thread may be lost; the process must still end in order.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "framework/logger/logger.h"
#include "tests/end-to-end/log_files/numbered_records.h"
#include "tests/races/writing_child.h"
#include "tests/support/child_process.h"

namespace {

constexpr std::uint32_t MoreRecordsThanAnyRun = 100000000;
constexpr std::uint32_t LongestLifeMicroseconds = 30000;

/// Returns to the run-time library, whose exit handlers shut the logger down, while the writers
/// continue. The writers use nothing that a handler destroys.
int WriteAndReturn(const std::vector<std::wstring>& arguments) {
    auto* const child = new test::WritingChild(arguments);
    const test::Delay life = child->round.DrawDelay(LongestLifeMicroseconds);
    std::thread([child] {
        test::WriteNumberedRecords(test::Progress::Threads, MoreRecordsThanAnyRun,
                                   child->progress.Returned());
    }).detach();
    life.Pass();
    return 0;
}

const test::ChildRoutine returning(L"write-and-return", WriteAndReturn);

/// If a writer switches files while the last one is closed, the other compression finds its file
/// missing and logs that.
void TakeCompressionLinesOut(std::map<unsigned, test::LogFileContent>& files) {
    for (auto& [number, file] : files) {
        std::erase_if(file.records, [](const std::wstring& record) {
            return record.starts_with(L"[E][quillon] CompressFile: ");
        });
    }
}

TEST(ExitRaces, LogCallsDuringProcessExit_EndInTimeWithTheOrdinaryCode) {
    test::PlayRounds({.rounds = 40, .longRounds = 3000}, [](test::RaceRound& round) {
        const test::WritingChildPlace place(round);
        test::Child child(test::SelfCommandLine(L"write-and-return", place.Arguments()));
        EXPECT_EQ(child.Wait(test::ChildLimitMs), 0U) << child.Output();
        auto files = test::ReadLogFolder(place.Logs());
        test::CheckFilesBeforeTheLast(files);
        EXPECT_EQ(test::TakeEndRecordsOut(files), 1U);
        TakeCompressionLinesOut(files);
        // Fails if one is missing before a later one of its thread.
        static_cast<void>(test::CountNumberedRecords(files, test::Progress::Threads));
    });
}

}  // namespace
