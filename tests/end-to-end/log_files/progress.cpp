#include "tests/end-to-end/log_files/progress.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "tests/end-to-end/log_files/numbered_records.h"

namespace test {

Progress::Progress(const std::wstring& name)
    : mapping_(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                    sizeof(Counts), name.c_str())),
      view_(::MapViewOfFile(mapping_.Get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Counts))) {}

std::uint32_t Progress::Total() const {
    return std::accumulate(Returned(), Returned() + Threads, std::uint32_t{0});
}

void CheckFilesBeforeTheLast(const std::map<unsigned, LogFileContent>& files) {
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

void CheckNothingLost(const std::map<unsigned, LogFileContent>& files, const Progress& progress) {
    const std::vector<std::uint32_t> counts = CountNumberedRecords(files, Progress::Threads);
    for (unsigned thread = 0; thread < Progress::Threads; ++thread) {
        const std::uint32_t returned = progress.Returned()[thread];
        EXPECT_GE(counts[thread], returned) << "lost, thread " << thread;
        EXPECT_LE(counts[thread], returned + 1) << "thread " << thread;
    }
}

}  // namespace test
