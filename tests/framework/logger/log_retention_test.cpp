#include "framework/logger/log_retention.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "framework/system/unique_handle.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"

namespace {

using framework::LogFileEntry;
using framework::LogFileList;
using framework::LogRetention;
using framework::LogRetentionParams;
using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::wstring>;

constexpr std::uint64_t Day = 864000000000;
constexpr std::uint64_t Hour = Day / 24;
constexpr std::uint64_t MiB = 1024 * 1024;
constexpr std::uint64_t Now = 150000 * Day + 12345;
constexpr std::uint32_t NoLimit = 0xFFFFFFFF;

LogFileEntry CreatedAt(std::uint64_t time) {
    return {L"file", 1, time};
}

Names PathsOf(const LogFileList& list) {
    Names paths;
    for (const LogFileEntry& entry : list) {
        paths.push_back(entry.Path);
    }
    return paths;
}

TEST(LogRetentionAge, OneTickLessThan70Days_IsNotExpired) {
    EXPECT_FALSE(LogRetention::IsExpired(CreatedAt(Now - 70 * Day + 1), Now, 70));
}

TEST(LogRetentionAge, Exactly70Days_IsExpired) {
    EXPECT_TRUE(LogRetention::IsExpired(CreatedAt(Now - 70 * Day), Now, 70));
}

TEST(LogRetentionAge, OneTickMoreThan70Days_IsExpired) {
    EXPECT_TRUE(LogRetention::IsExpired(CreatedAt(Now - 70 * Day - 1), Now, 70));
}

TEST(LogRetentionAge, 69DaysAnd23Hours_IsNotExpired) {
    EXPECT_FALSE(LogRetention::IsExpired(CreatedAt(Now - 69 * Day - 23 * Hour), Now, 70));
}

TEST(LogRetentionAge, CreationInTheFuture_NeverExpires) {
    EXPECT_FALSE(LogRetention::IsExpired(CreatedAt(Now + 1), Now, 0));
    EXPECT_FALSE(LogRetention::IsExpired(CreatedAt(Now + 100 * Day), Now, 70));
    EXPECT_FALSE(LogRetention::IsExpired(CreatedAt(~std::uint64_t{0}), Now, 1));
}

TEST(LogRetentionAge, LimitOf0Days_ExpiresWhatIsNotFromTheFuture) {
    EXPECT_TRUE(LogRetention::IsExpired(CreatedAt(Now), Now, 0));
    EXPECT_TRUE(LogRetention::IsExpired(CreatedAt(Now - 1), Now, 0));
}

TEST(LogRetentionAge, LargestLimit_IsNotCut) {
    EXPECT_FALSE(LogRetention::IsExpired(CreatedAt(0), Now, NoLimit));
}

struct File {
    const wchar_t* path;
    std::uint64_t size;
    std::uint64_t time;
};

struct BudgetRow {
    const char* name;
    std::vector<File> files;
    std::uint32_t limit;
    Names selected;
};

void PrintTo(const BudgetRow& row, std::ostream* out) {
    *out << row.name;
}

class SelectOverBudgetTest : public testing::TestWithParam<BudgetRow> {};

TEST_P(SelectOverBudgetTest, SelectsFromNewerToOlder) {
    LogFileList list;
    for (const File& file : GetParam().files) {
        list.push_back({file.path, file.size, file.time});
    }
    EXPECT_EQ(PathsOf(LogRetention::SelectOverBudget(list, GetParam().limit)), GetParam().selected);
}

INSTANTIATE_TEST_SUITE_P(
    LogRetention, SelectOverBudgetTest,
    testing::Values(
        BudgetRow{"Nothing", {}, 0, {}},
        BudgetRow{"ThreeOf6UnderLimitOf16",
                  {{L"old", 6 * MiB, 1}, {L"middle", 6 * MiB, 2}, {L"new", 6 * MiB, 3}},
                  16 * MiB,
                  {L"old"}},
        BudgetRow{"TotalReachesLimitExactly",
                  {{L"new", 8 * MiB, 2}, {L"old", 8 * MiB, 1}},
                  16 * MiB,
                  {L"old"}},
        BudgetRow{"TotalOneByteBelowLimit",
                  {{L"new", 8 * MiB, 2}, {L"old", 8 * MiB - 1, 1}},
                  16 * MiB,
                  {}},
        BudgetRow{"NewestAloneReachesLimit",
                  {{L"old", 1, 1}, {L"new", 100, 2}, {L"oldest", 0, 0}},
                  100,
                  {L"new", L"old", L"oldest"}},
        BudgetRow{"SmallFilesBehindTheLimit",
                  {{L"a", 1, 5}, {L"b", 9, 4}, {L"c", 0, 3}, {L"d", 1, 2}},
                  10,
                  {L"b", L"c", L"d"}},
        BudgetRow{"LimitOf0", {{L"old", 0, 1}, {L"new", 0, 2}}, 0, {L"new", L"old"}},
        BudgetRow{"EmptyFilesUnderLimitOf1", {{L"old", 0, 1}, {L"new", 0, 2}}, 1, {}},
        BudgetRow{"EqualTimesLastListedIsNewest",
                  {{L"first", 10, 7}, {L"second", 10, 7}, {L"third", 10, 7}},
                  20,
                  {L"second", L"first"}},
        BudgetRow{
            "NameAndSizeBreakNoTie", {{L"z", 1, 7}, {L"a", 10, 7}, {L"m", 5, 7}}, 10, {L"a", L"z"}},
        BudgetRow{"FutureIsNewest", {{L"future", 10, Now + Day}, {L"now", 10, Now}}, 20, {L"now"}},
        BudgetRow{"SizesAbove32Bits",
                  {{L"huge", 0x100000001, 2}, {L"old", 1, 1}},
                  NoLimit,
                  {L"huge", L"old"}},
        BudgetRow{"TotalAbove32BitsDoesNotWrap",
                  {{L"new", 0xFFFFFFF0, 3}, {L"middle", 0x20, 2}, {L"old", 1, 1}},
                  NoLimit,
                  {L"middle", L"old"}}),
    [](const testing::TestParamInfo<BudgetRow>& row) { return std::string(row.param.name); });

TEST(LogRetentionBudget, ManyEqualTimes_KeepTheirOrder) {
    LogFileList list;
    Names newestFirst;
    for (int index = 0; index < 500; ++index) {
        list.push_back({std::to_wstring(index), 1, Now});
        newestFirst.insert(newestFirst.begin(), std::to_wstring(index));
    }
    EXPECT_EQ(PathsOf(LogRetention::SelectOverBudget(list, 0)), newestFirst);
}

TEST(LogRetentionTime, SystemTime_IsGivenInTicks) {
    EXPECT_EQ(LogRetention::ToFileTime({1601, 1, 0, 1, 0, 0, 0, 1}), 10000U);
    EXPECT_EQ(LogRetention::ToFileTime({1970, 1, 0, 1, 0, 0, 0, 0}), 116444736000000000U);
}

TEST(LogRetentionTime, TimeThatCannotBeConverted_Is0AndLogged) {
    const test::LogCapture log;
    EXPECT_EQ(LogRetention::ToFileTime({2020, 13, 0, 1, 0, 0, 0, 0}), 0U);
    EXPECT_THAT(log.Lines(), ElementsAre(L"[E][quillon] Failed to convert to FILETIME"));
}

/// A simulated directory: the test sets contents, clock and results.
class FakeDirectory {
  public:
    FakeDirectory()
        : clock_([](SYSTEMTIME* time) { *time = {2020, 11, 1, 16, 16, 30, 12, 345}; }),
          first_([this](const wchar_t* path, WIN32_FIND_DATAW* found) {
              searches.emplace_back(path);
              EXPECT_EQ(found->dwFileAttributes, 0U);
              EXPECT_EQ(found->cFileName[0], L'\0');
              if (firstError != 0) {
                  ::SetLastError(firstError);
                  return INVALID_HANDLE_VALUE;
              }
              *found = files.front();
              files.pop_front();
              return Search();
          }),
          next_([this](HANDLE search, WIN32_FIND_DATAW* found) {
              if (search != Search()) {
                  return test::FindNextFileWHook::Real(search, found);
              }
              if (files.empty()) {
                  ::SetLastError(lastError);
                  return FALSE;
              }
              *found = files.front();
              files.pop_front();
              return TRUE;
          }),
          close_([this](HANDLE search) {
              closed.push_back(search);
              ::SetLastError(ERROR_INVALID_FUNCTION);
              return TRUE;
          }),
          delete_([this](const wchar_t* path) {
              deleted.emplace_back(path);
              ::SetLastError(deleteError);
              return deleteError == 0 ? TRUE : FALSE;
          }) {}

    void Add(const wchar_t* name, std::uint64_t creationTime, std::uint64_t size) {
        WIN32_FIND_DATAW found = {};
        ::lstrcpynW(found.cFileName, name, MAX_PATH);
        found.ftCreationTime = {static_cast<DWORD>(creationTime),
                                static_cast<DWORD>(creationTime >> 32)};
        // Times that must not be used.
        found.ftLastWriteTime = {1, 1};
        found.ftLastAccessTime = {1, 1};
        found.nFileSizeHigh = static_cast<DWORD>(size >> 32);
        found.nFileSizeLow = static_cast<DWORD>(size);
        files.push_back(found);
    }

    /// The clock in ticks.
    static std::uint64_t Time() {
        return LogRetention::ToFileTime({2020, 11, 1, 16, 16, 30, 12, 345});
    }
    static HANDLE Search() {
        static int search = 0;
        return &search;
    }

    std::deque<WIN32_FIND_DATAW> files;
    DWORD firstError = 0;
    DWORD lastError = ERROR_NO_MORE_FILES;
    DWORD deleteError = 0;
    Names searches;
    Names deleted;
    std::vector<HANDLE> closed;

  private:
    test::ScopedHook<test::GetSystemTimeHook> clock_;
    test::ScopedHook<test::FindFirstFileWHook> first_;
    test::ScopedHook<test::FindNextFileWHook> next_;
    test::ScopedHook<test::FindCloseHook> close_;
    test::ScopedHook<test::DeleteFileWHook> delete_;
};

/// One pass over the simulated directory "D:\x\". The log lines are recorded, because the test
/// can't search for its own log file meanwhile.
class LogRetentionPass : public testing::Test {
  protected:
    void Run(std::uint32_t days = 70, std::uint32_t limit = NoLimit) {
        framework::RunLogRetention({L"D:\\x\\", L"*.log", days, limit});
        searches_ = directory_->searches;
        deleted_ = directory_->deleted;
        closed_ = directory_->closed;
        directory_.reset();
        lines_ = log_.Lines();
    }

    static std::uint64_t Ago(std::uint64_t ticks) { return FakeDirectory::Time() - ticks; }

    test::LogCapture log_;
    std::optional<FakeDirectory> directory_{std::in_place};
    Names searches_;
    Names deleted_;
    Names lines_;
    std::vector<HANDLE> closed_;
};

TEST_F(LogRetentionPass, DirectoryAndPattern_AreJoinedAsTheyStand) {
    directory_->firstError = ERROR_FILE_NOT_FOUND;
    framework::RunLogRetention({L"D:\\x", L"*.log.gz", 1, 1});
    framework::RunLogRetention({L"", L"*.log", 1, 1});
    EXPECT_THAT(directory_->searches, ElementsAre(L"D:\\x*.log.gz", L"*.log"));
}

TEST_F(LogRetentionPass, DirectoryWithoutBackslash_IsGluedToEveryFoundNameToo) {
    directory_->Add(L"a.log", Ago(1 * Day), 1);
    directory_->Add(L"b.log", Ago(71 * Day), 1);
    const LogRetentionParams params = {L"D:\\x", L"*.log", 70, NoLimit};
    EXPECT_THAT(PathsOf(LogRetention(params).GetLogFiles()),
                ElementsAre(L"D:\\xa.log", L"D:\\xb.log"));
    directory_->Add(L"c.log", Ago(71 * Day), 1);
    framework::RunLogRetention(params);
    EXPECT_THAT(directory_->deleted, ElementsAre(L"D:\\xc.log"));
}

TEST_F(LogRetentionPass, NothingFound_SaysNothing) {
    directory_->firstError = ERROR_FILE_NOT_FOUND;
    Run(0, 0);
    EXPECT_THAT(searches_, ElementsAre(L"D:\\x\\*.log"));
    EXPECT_THAT(deleted_, IsEmpty());
    EXPECT_THAT(closed_, IsEmpty());
    EXPECT_THAT(lines_, IsEmpty());
}

TEST_F(LogRetentionPass, MissingDirectory_SaysNothing) {
    directory_->firstError = ERROR_PATH_NOT_FOUND;
    Run(0, 0);
    EXPECT_THAT(deleted_, IsEmpty());
    EXPECT_THAT(closed_, IsEmpty());
    EXPECT_THAT(lines_, IsEmpty());
}

TEST_F(LogRetentionPass, FailedSearch_GivesTwoLinesAndOneDeletionOfTheDirectory) {
    directory_->firstError = ERROR_ACCESS_DENIED;
    Run();
    EXPECT_THAT(deleted_, ElementsAre(L"D:\\x\\"));
    EXPECT_THAT(closed_, ElementsAre(INVALID_HANDLE_VALUE));
    EXPECT_THAT(lines_, ElementsAre(L"[E][quillon] Failed to acquire the log files",
                                    L"[E][quillon] Continues the file search failed"));
}

TEST_F(LogRetentionPass, AgeLimitBeyondTheClock_LeavesTheFailedSearchToTheBudget) {
    directory_->firstError = ERROR_ACCESS_DENIED;
    Run(NoLimit, 1);
    EXPECT_THAT(deleted_, IsEmpty());
}

TEST_F(LogRetentionPass, SearchThatBreaksOff_IsLoggedAndUsedAsFarAsItWent) {
    directory_->Add(L"a.log", Ago(80 * Day), 1);
    directory_->Add(L"b.log", Ago(90 * Day), 1);
    directory_->lastError = ERROR_NETNAME_DELETED;
    Run();
    EXPECT_THAT(deleted_, ElementsAre(L"D:\\x\\a.log", L"D:\\x\\b.log"));
    EXPECT_THAT(closed_, ElementsAre(FakeDirectory::Search()));
    EXPECT_THAT(lines_, ElementsAre(L"[E][quillon] Continues the file search failed"));
}

TEST_F(LogRetentionPass, AgeGoesByCompletedDaysOfTheCreationTime) {
    directory_->Add(L"exact.log", Ago(70 * Day), 1);
    directory_->Add(L"tick.log", Ago(70 * Day - 1), 1);
    directory_->Add(L"future.log", Ago(0) + 1, 1);
    Run();
    EXPECT_THAT(deleted_, ElementsAre(L"D:\\x\\exact.log"));
    EXPECT_THAT(lines_, IsEmpty());
}

TEST_F(LogRetentionPass, ExpiredGoAsListed_ThenExcessFromNewerToOlder) {
    directory_->Add(L"young2.log", Ago(2 * Day), 10);
    directory_->Add(L"expired1.log", Ago(71 * Day), 1);
    directory_->Add(L"young1.log", Ago(1 * Day), 10);
    directory_->Add(L"expired2.log", Ago(99 * Day), 1);
    directory_->Add(L"young3.log", Ago(3 * Day), 10);
    directory_->Add(L"expired3.log", Ago(80 * Day), 1);
    Run(70, 20);
    EXPECT_THAT(deleted_,
                ElementsAre(L"D:\\x\\expired1.log", L"D:\\x\\expired2.log", L"D:\\x\\expired3.log",
                            L"D:\\x\\young2.log", L"D:\\x\\young3.log"));
}

TEST_F(LogRetentionPass, ExpiredFile_CountsNotEvenIfItStays) {
    directory_->Add(L"expired.log", Ago(71 * Day), 1000);
    directory_->Add(L"young.log", Ago(1 * Day), 19);
    directory_->deleteError = ERROR_ACCESS_DENIED;
    Run(70, 20);
    EXPECT_THAT(deleted_, ElementsAre(L"D:\\x\\expired.log"));
    EXPECT_THAT(lines_, IsEmpty());
}

TEST_F(LogRetentionPass, FileThatCannotBeDeleted_CountsAndStopsNothing) {
    directory_->Add(L"old.log", Ago(2 * Day), 1);
    directory_->Add(L"open.log", Ago(1 * Day), 20);
    directory_->deleteError = ERROR_SHARING_VIOLATION;
    Run(70, 20);
    EXPECT_THAT(deleted_, ElementsAre(L"D:\\x\\open.log", L"D:\\x\\old.log"));
    EXPECT_THAT(lines_, IsEmpty());
}

TEST_F(LogRetentionPass, SizeAbove32Bits_IsPutTogetherFromBothHalves) {
    directory_->Add(L"huge.log", Ago(1 * Day), 0x100000000);
    Run(70, 1000);
    EXPECT_THAT(deleted_, ElementsAre(L"D:\\x\\huge.log"));
}

TEST_F(LogRetentionPass, LimitsOf0_DeleteEverythingButExpireNoFuture) {
    directory_->Add(L"now.log", Ago(0), 1);
    directory_->Add(L"future.log", Ago(0) + Day, 1);
    Run(0, NoLimit);
    EXPECT_THAT(deleted_, ElementsAre(L"D:\\x\\now.log"));
}

TEST_F(LogRetentionPass, FailedClock_ExpiresNothingAndStillKeepsTheBudget) {
    directory_->Add(L"ancient.log", 1, 10);
    directory_->Add(L"new.log", Ago(1 * Day), 10);
    {
        const test::ScopedHook<test::SystemTimeToFileTimeHook> hook(
            [](const SYSTEMTIME*, FILETIME*) { return FALSE; });
        framework::RunLogRetention({L"D:\\x\\", L"*.log", 70, 20});
    }
    EXPECT_THAT(directory_->deleted, ElementsAre(L"D:\\x\\ancient.log"));
    directory_.reset();
    EXPECT_THAT(log_.Lines(), ElementsAre(L"[E][quillon] Failed to convert to FILETIME"));
}

TEST_F(LogRetentionPass, AllocationFailure_EndsThePassWithALine) {
    {
        const test::ScopedHook<test::FindFirstFileWHook> hook(
            [](const wchar_t*, WIN32_FIND_DATAW*) -> HANDLE { throw std::bad_alloc(); });
        EXPECT_NO_THROW(framework::RunLogRetention({L"D:\\x\\", L"*.log", 70, 20}));
    }
    directory_.reset();
    EXPECT_THAT(log_.Lines(), ElementsAre(L"[E][quillon] Error: LogRetention::Execute"));
}

TEST_F(LogRetentionPass, AllocationFailureWhileDeleting_LeavesWhatIsDeletedDeleted) {
    directory_->Add(L"a.log", Ago(80 * Day), 1);
    directory_->Add(L"b.log", Ago(80 * Day), 1);
    Names tried;
    {
        const test::ScopedHook<test::DeleteFileWHook> hook([&](const wchar_t* path) {
            tried.emplace_back(path);
            if (tried.size() == 2) {
                throw std::bad_alloc();
            }
            return TRUE;
        });
        EXPECT_NO_THROW(framework::RunLogRetention({L"D:\\x\\", L"*.log", 70, 20}));
    }
    directory_.reset();
    EXPECT_THAT(tried, ElementsAre(L"D:\\x\\a.log", L"D:\\x\\b.log"));
    EXPECT_THAT(log_.Lines(), ElementsAre(L"[E][quillon] Error: LogRetention::Execute"));
}

/// Passes over a real folder. On Wine the creation time of a file is that of its last write.
class LogRetentionOnDisk : public testing::Test {
  protected:
    void Make(const std::wstring& name, std::uint64_t daysOld, std::size_t size = 1) const {
        const std::filesystem::path path = folder_.Path() / name;
        test::WriteFileBytes(path, std::string(size, 'x'));
        SYSTEMTIME now = {};
        ::GetSystemTime(&now);
        const std::uint64_t time = LogRetention::ToFileTime(now) - daysOld * Day - Hour;
        const FILETIME fileTime = {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
        const framework::FileHandle file(::CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 7,
                                                       nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(::SetFileTime(file.Get(), &fileTime, nullptr, &fileTime));
    }

    void Run(const wchar_t* pattern, std::uint32_t days, std::uint32_t limit) const {
        framework::RunLogRetention({folder_.WithBackslash(), pattern, days, limit});
    }

    test::LogCapture log_;
    test::ScratchFolder folder_;
};

TEST_F(LogRetentionOnDisk, PlainPattern_TakesAnyLogAndNoGzip) {
    for (const wchar_t* name : {L"a.log", L"foreign.LOG", L".log", L"a.log.gz", L"a.txt", L"log"}) {
        Make(name, 70);
    }
    Run(L"*.log", 70, NoLimit);
    EXPECT_THAT(folder_.Names(), testing::UnorderedElementsAre(L"a.log.gz", L"a.txt", L"log"));
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(LogRetentionOnDisk, GzipPattern_TakesNoPlainLog) {
    for (const wchar_t* name : {L"a.log", L"a.log.gz", L"b.gz"}) {
        Make(name, 70);
    }
    Run(L"*.log.gz", 70, NoLimit);
    EXPECT_THAT(folder_.Names(), testing::UnorderedElementsAre(L"a.log", L"b.gz"));
}

TEST_F(LogRetentionOnDisk, FolderNamedLikeALog_StaysWithWhatItHolds) {
    std::filesystem::create_directory(folder_.Path() / "folder.log");
    test::WriteFileBytes(folder_.Path() / "folder.log" / "inside.log", "x");
    Make(L"a.log", 1);
    Run(L"*.log", 0, 0);
    EXPECT_THAT(folder_.Names(), ElementsAre(L"folder.log"));
    EXPECT_TRUE(std::filesystem::exists(folder_.Path() / "folder.log" / "inside.log"));
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(LogRetentionOnDisk, OldestGoForTheBudget) {
    Make(L"a.log", 3, 600);
    Make(L"b.log", 1, 600);
    Make(L"c.log", 2, 600);
    Run(L"*.log", 70, 1800);
    EXPECT_THAT(folder_.Names(), ElementsAre(L"b.log", L"c.log"));
}

TEST_F(LogRetentionOnDisk, FileHeldOpenWithoutSharedDeletion_Stays) {
    Make(L"open.log", 80);
    Make(L"old.log", 80);
    const framework::FileHandle open(::CreateFileW((folder_.Path() / "open.log").c_str(),
                                                   GENERIC_READ, FILE_SHARE_READ, nullptr,
                                                   OPEN_EXISTING, 0, nullptr));
    Run(L"*.log", 70, NoLimit);
    EXPECT_THAT(folder_.Names(), ElementsAre(L"open.log"));
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(LogRetentionOnDisk, EmptyFolder_SaysNothingAndStays) {
    Run(L"*.log", 0, 0);
    Run(L"*.log.gz", 0, 0);
    EXPECT_THAT(log_.Lines(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(LogRetentionOnDisk, MissingFolder_SaysNothing) {
    framework::RunLogRetention({folder_.WithBackslash() + L"missing\\", L"*.log", 0, 0});
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(LogRetentionOnDisk, GetLogFiles_GivesPathSizeAndTime) {
    Make(L"a.log", 5, 123);
    const LogRetention retention(
        LogRetentionParams{folder_.WithBackslash(), L"*.log", 70, NoLimit});
    const LogFileList list = retention.GetLogFiles();
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].Path, folder_.WithBackslash() + L"a.log");
    EXPECT_EQ(list[0].Size, 123U);
    SYSTEMTIME now = {};
    ::GetSystemTime(&now);
    EXPECT_EQ((LogRetention::ToFileTime(now) - list[0].CreationTime) / Day, 5U);
}

}  // namespace
