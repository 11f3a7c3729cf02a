// Retention in a folder of many files, some of which can't be deleted.

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "framework/logger/log_retention.h"
#include "framework/system/unique_handle.h"
#include "tests/support/log_capture.h"
#include "tests/support/scratch_folder.h"

namespace {

constexpr unsigned FileCount = 10000;
constexpr unsigned ExpiredCount = 3000;
constexpr std::size_t FileSize = 100;
// Two thousand files would reach it, so one fewer may remain.
constexpr std::uint32_t Budget = 2000 * FileSize;
constexpr unsigned KeptCount = 1999;
constexpr std::uint32_t Days = 70;
constexpr std::uint64_t TicksOfADay = 864000000000;
constexpr std::uint64_t TicksOfAMinute = 600000000;

/// A name by age, 0 for the newest, with a different order of names than of ages.
std::wstring NameOfAge(unsigned age) {
    const std::wstring digits = std::to_wstring(10000 + age * 7919 % FileCount);
    return L"log-" + digits + L".log";
}

std::uint64_t Now() {
    SYSTEMTIME now = {};
    ::GetSystemTime(&now);
    return framework::LogRetention::ToFileTime(now);
}

/// The young ones are minutes apart, the last `ExpiredCount` older than the limit.
std::uint64_t CreationTime(std::uint64_t now, unsigned age) {
    const bool expired = age >= FileCount - ExpiredCount;
    return now - age * TicksOfAMinute - (expired ? Days * TicksOfADay : TicksOfADay);
}

void Make(const std::filesystem::path& path, std::uint64_t time) {
    const framework::FileHandle file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr,
                                                   CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    const char content[FileSize] = {};
    DWORD written = 0;
    const FILETIME fileTime = {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
    ASSERT_TRUE(::WriteFile(file.Get(), content, FileSize, &written, nullptr));
    ASSERT_TRUE(::SetFileTime(file.Get(), &fileTime, nullptr, &fileTime));
}

/// Opens a file like the logger does, so that it can't be deleted.
framework::FileHandle HoldOpen(const std::filesystem::path& path) {
    return framework::FileHandle(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                               OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

TEST(Retention, TenThousandFilesWithUndeletableOnes_LeavesTheNewestAndThose) {
    const test::LogCapture log;
    const test::ScratchFolder folder;
    const std::uint64_t now = Now();
    std::set<std::wstring> kept = {L"folder.log"};
    for (unsigned age = 0; age < FileCount; ++age) {
        ASSERT_NO_FATAL_FAILURE(Make(folder.Path() / NameOfAge(age), CreationTime(now, age)));
        if (age < KeptCount) {
            kept.insert(NameOfAge(age));
        }
    }
    std::filesystem::create_directory(folder.Path() / "folder.log");
    test::WriteFileBytes(folder.Path() / "folder.log" / "inside.log", "inside");
    std::vector<framework::FileHandle> held;
    for (const unsigned age : {KeptCount, KeptCount + 1, 5000U, FileCount - ExpiredCount - 1,
                               FileCount - ExpiredCount, 8000U, FileCount - 1}) {
        held.push_back(HoldOpen(folder.Path() / NameOfAge(age)));
        kept.insert(NameOfAge(age));
    }

    framework::RunLogRetention({folder.WithBackslash(), L"*.log", Days, Budget});

    const std::vector<std::wstring> names = folder.Names();
    EXPECT_EQ(std::set<std::wstring>(names.begin(), names.end()), kept);
    EXPECT_TRUE(std::filesystem::exists(folder.Path() / "folder.log" / "inside.log"));
    EXPECT_TRUE(log.Lines().empty());

    // The next pass deletes files that are no longer open.
    held.clear();
    framework::RunLogRetention({folder.WithBackslash(), L"*.log", Days, Budget});
    EXPECT_EQ(folder.Names().size(), KeptCount + 1U);
}

}  // namespace
