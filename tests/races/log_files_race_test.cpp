// The log's files during concurrent records, switches, flushes and retention runs. Platform calls
// take a random time, longest inside a lock.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <string>
#include <vector>

#include "framework/logger/logger.h"
#include "tests/end-to-end/log_files/log_folder.h"
#include "tests/end-to-end/log_files/numbered_records.h"
#include "tests/races/rounds.h"
#include "tests/races/writing_child.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"

namespace {

using test::PlayRounds;
using test::RaceRound;
using test::RunTogether;

constexpr unsigned Writers = 3;
constexpr std::uint32_t RecordsEach = 30;
constexpr std::uint32_t MaxFileSize = 3000;
constexpr std::size_t FewestFiles = 4;

/// The logger, in its initial state, with the records of all writers in a separate folder.
class LogRound {
  public:
    explicit LogRound(framework::LoggerConfig config) {
        framework::Logger::Instance().Configure(std::move(config));
        framework::Logger::Instance().WriteHeader();
    }

    void Write() {
        test::WriteNumberedRecords(Writers, RecordsEach, returned_);
        over_ = true;
    }
    [[nodiscard]] bool Over() const { return over_; }
    /// Shuts the logger down as the end of the process does.
    static void End() { test::FreshLogger::Renew(); }

  private:
    test::FreshLogger logger_;
    std::atomic<std::uint32_t> returned_[Writers] = {};
    std::atomic<bool> over_{false};
};

framework::LoggerConfig RacingConfig(const test::ScratchFolder& folder, bool compress) {
    framework::LoggerConfig config =
        test::NumberedRecordsConfig(folder.WithBackslash(), MaxFileSize);
    config.CompressRotatedLogs = compress;
    return config;
}

/// Calls that must not fail in any race: the product would lose a record.
class NeverFailingCalls {
  public:
    explicit NeverFailingCalls(RaceRound& round)
        : write_([&round](HANDLE file, const void* data, DWORD size, DWORD* written,
                          OVERLAPPED* position) {
              const BOOL result = test::WriteFileHook::Real(file, data, size, written, position);
              const DWORD error = ::GetLastError();
              // A retention run that is still active at the end may log after the file is closed.
              EXPECT_TRUE(result != FALSE || file == nullptr) << "WriteFile, error " << error;
              round.Jitter(20).Pass();
              ::SetLastError(error);
              return result;
          }),
          create_([&round](const wchar_t* name, DWORD access, DWORD share,
                           SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD attributes,
                           HANDLE sample) {
              round.Jitter().Pass();
              const HANDLE file = test::CreateFileWHook::Real(name, access, share, security,
                                                              disposition, attributes, sample);
              const DWORD error = ::GetLastError();
              if (disposition == CREATE_NEW) {
                  EXPECT_NE(file, INVALID_HANDLE_VALUE) << "CreateFileW, error " << error;
              }
              round.Jitter().Pass();
              ::SetLastError(error);
              return file;
          }) {}

  private:
    test::ScopedHook<test::WriteFileHook> write_;
    test::ScopedHook<test::CreateFileWHook> create_;
};

/// Replaces the real flush, which takes as long as the disk does. Checks that the file stays open
/// during the whole call.
class WatchedFlush {
  public:
    explicit WatchedFlush(RaceRound& round)
        : flush_([this, &round](HANDLE file) -> BOOL {
              ++count_;
              LARGE_INTEGER size = {};
              EXPECT_NE(::GetFileSizeEx(file, &size), FALSE) << "flushes no file";
              round.Jitter().Pass();
              EXPECT_NE(::GetFileSizeEx(file, &size), FALSE) << "closed under the flush";
              return TRUE;
          }) {}

    [[nodiscard]] std::uint32_t Count() const { return count_; }

  private:
    std::atomic<std::uint32_t> count_{0};
    test::ScopedHook<test::FlushFileBuffersHook> flush_;
};

TEST(LogRaces, FlushAgainstRotation_LosesNothingAndNeverMeetsAClosedFile) {
    PlayRounds({.rounds = 120, .longRounds = 4000}, [](RaceRound& round) {
        const test::ScratchFolder folder;
        const NeverFailingCalls calls(round);
        const WatchedFlush flush(round);
        LogRound log(RacingConfig(folder, round.Below(2) == 0));
        // At least once, whatever the thread schedule.
        const auto flushUntilOver = [&] {
            do {
                framework::LogFlush();
                round.Jitter().Pass();
            } while (!log.Over());
        };
        RunTogether(round, {[&] { log.Write(); }, flushUntilOver, flushUntilOver});
        log.End();
        EXPECT_GT(flush.Count(), 0U);
        auto files = test::ReadLogFolder(folder.Path());
        EXPECT_GE(files.size(), FewestFiles);
        EXPECT_EQ(test::TakeEndRecordsOut(files), 1U);
        EXPECT_EQ(test::CountNumberedRecords(files, Writers),
                  std::vector<std::uint32_t>(Writers, RecordsEach));
    });
}

std::atomic<int> liveRetentionThreads;
std::atomic<int> mostRetentionThreads;

DWORD WINAPI CountedRetentionThread(void* logger) {
    const DWORD result = framework::RetentionThreadProc(logger);
    --liveRetentionThreads;
    return result;
}

/// Watches retention runs, on threads and at shutdown.
class RetentionWatch {
  public:
    explicit RetentionWatch(RaceRound& round)
        : create_([this](SECURITY_ATTRIBUTES* security, SIZE_T stack,
                         LPTHREAD_START_ROUTINE routine, void* argument, DWORD flags, DWORD* id) {
              if (routine != &framework::RetentionThreadProc) {
                  return test::CreateThreadHook::Real(security, stack, routine, argument, flags,
                                                      id);
              }
              ++created_;
              mostRetentionThreads = std::max<int>(mostRetentionThreads, ++liveRetentionThreads);
              return test::CreateThreadHook::Real(security, stack, &CountedRetentionThread,
                                                  argument, flags, id);
          }),
          findFirst_([this](const wchar_t* pattern, WIN32_FIND_DATAW* found) {
              const HANDLE search = test::FindFirstFileWHook::Real(pattern, found);
              if (search != INVALID_HANDLE_VALUE) {
                  EXPECT_EQ(++searches_, 1) << "two retention runs at once";
              }
              return search;
          }),
          findNext_([&round](HANDLE search, WIN32_FIND_DATAW* found) {
              round.Jitter().Pass();
              return test::FindNextFileWHook::Real(search, found);
          }),
          findClose_([this](HANDLE search) {
              if (search != INVALID_HANDLE_VALUE) {
                  --searches_;
              }
              return test::FindCloseHook::Real(search);
          }),
          remove_([&round](const wchar_t* name) {
              round.Jitter().Pass();
              return test::DeleteFileWHook::Real(name);
          }) {
        liveRetentionThreads = 0;
        mostRetentionThreads = 0;
    }

    [[nodiscard]] int Created() const { return created_; }
    [[nodiscard]] int Searches() const { return searches_; }

  private:
    std::atomic<int> created_{0};
    std::atomic<int> searches_{0};
    test::ScopedHook<test::CreateThreadHook> create_;
    test::ScopedHook<test::FindFirstFileWHook> findFirst_;
    test::ScopedHook<test::FindNextFileWHook> findNext_;
    test::ScopedHook<test::FindCloseHook> findClose_;
    test::ScopedHook<test::DeleteFileWHook> remove_;
};

/// The state that retention and rotation have left: some numbers are missing, the current file
/// exists, and each remaining file is readable.
void CheckFileInUse(const test::ScratchFolder& folder) {
    // No new run starts without a record.
    while (liveRetentionThreads != 0) {
        ::SwitchToThread();
    }
    const std::vector<std::wstring> plain = folder.Names(L".log");
    ASSERT_FALSE(plain.empty()) << "the file in use is gone";
    const auto files = test::ReadLogFolder(folder.Path());
    const auto& [number, current] = *files.rbegin();
    EXPECT_GE(number + 1U, FewestFiles);
    EXPECT_FALSE(current.compressed);
    EXPECT_TRUE(current.HasHeader());
    EXPECT_TRUE(current.endsWhole);
}

TEST(LogRaces, RetentionAgainstRotation_RunsOnceAtATimeAndSparesTheFileInUse) {
    PlayRounds({.rounds = 120, .longRounds = 4000}, [](RaceRound& round) {
        const test::ScratchFolder folder;
        framework::LoggerConfig config = RacingConfig(folder, round.Below(2) == 0);
        config.DisableLogRetention = false;
        // Every file that isn't in use is too old, or (only plain ones) over the limit.
        config.ExpiredPeriodInDays = config.CompressRotatedLogs || round.Below(2) == 0 ? 0 : 70;
        config.MaxLogFilesSize = 2 * MaxFileSize;
        const NeverFailingCalls calls(round);
        const RetentionWatch retention(round);
        LogRound log(config);
        log.Write();
        CheckFileInUse(folder);
        log.End();
        EXPECT_GT(retention.Created(), 0);
        EXPECT_EQ(mostRetentionThreads, 1);
        EXPECT_EQ(liveRetentionThreads, 0) << "a run goes on after the end of logging";
        EXPECT_EQ(retention.Searches(), 0);
    });
}

}  // namespace
