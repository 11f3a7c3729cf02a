// Shutdown of the logger, as process exit runs it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

#include "framework/logger/logger.h"
#include "tests/framework/logger/log_run.h"
#include "tests/support/child_process.h"
#include "tests/support/debugger_channel.h"
#include "tests/support/gzip_reader.h"
#include "tests/support/platform_hooks.h"

namespace {

using framework::Logger;
using framework::LoggerConfig;
using test::LogBytes;
using test::LogMessage;
using test::LogRun;
using test::LostRecordText;
using test::RecordOfBytes;
using test::RetentionConfig;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::wstring>;

constexpr DWORD WaitLimitMs = 20000;
constexpr const wchar_t* EndRecord = L"[T][quillon] End";
constexpr std::size_t EndRecordSize = test::EmptyRecordSize + 3 * sizeof(wchar_t);

class LoggerShutdown : public test::LogRunTest {};

TEST_F(LoggerShutdown, LastRecord_IsEndAndTheFileIsCompressed) {
    run_.Configure(test::RotatingConfig());
    LogMessage(L"one");
    Logger::Instance().Shutdown();
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0) + L".gz"));
    EXPECT_THAT(run_.Records(0), ElementsAre(L"[T][quillon] one", EndRecord));
}

TEST_F(LoggerShutdown, WithoutCompression_ThePlainFileStays) {
    LoggerConfig config = test::RotatingConfig();
    config.CompressRotatedLogs = false;
    run_.Configure(config);
    Logger::Instance().Shutdown();
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0)));
    EXPECT_THAT(run_.Records(0), ElementsAre(EndRecord));
    const framework::FileHandle alone(
        ::CreateFileW(File(0).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(alone) << "the logger has let go of the file";
}

TEST_F(LoggerShutdown, FileThatStayedEmpty_IsCompressedAndDeletedLikeAnyOther) {
    // A disk that silently accepts no byte of the log, not even the byte order mark.
    const test::ScopedHook<test::WriteFileHook> hook(
        [](HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* position) {
            if (position == nullptr) {
                return test::WriteFileHook::Real(file, data, size, written, position);
            }
            *written = size;
            return TRUE;
        });
    run_.Configure(test::RotatingConfig());
    LogMessage(L"one");
    ASSERT_EQ(std::filesystem::file_size(File(0)), 0U);
    Logger::Instance().Shutdown();
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0) + L".gz"));
    EXPECT_EQ(test::Gunzip(test::ReadBytes(File(0) + L".gz")), "");
}

TEST_F(LoggerShutdown, EndUnderAMaskWithoutTrace_IsNotWritten) {
    LoggerConfig config = test::RotatingConfig();
    config.TraceLevelsMask = 1;
    run_.Configure(config);
    Logger::Instance().Shutdown();
    EXPECT_THAT(run_.Records(0), IsEmpty());
}

TEST_F(LoggerShutdown, EndThatReachesTheLimit_StaysInItsFile) {
    run_.Configure(test::RotatingConfig());
    LogBytes(1000 - EndRecordSize);
    Logger::Instance().Shutdown();
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0) + L".gz"));
}

TEST_F(LoggerShutdown, EndThatPassesTheLimit_LeavesALastFileOfAHeaderAlone) {
    run_.Configure(test::RotatingConfig());
    LogBytes(1002 - EndRecordSize, L'a');
    Logger::Instance().Shutdown();
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0) + L".gz", LogRun::Name(1) + L".gz"));
    EXPECT_THAT(run_.Records(0), ElementsAre(RecordOfBytes(1002 - EndRecordSize, L'a'), EndRecord));
    EXPECT_EQ(run_.Records(1), test::HeaderRecords());
}

TEST_F(LoggerShutdown, LateRecord_FailsAtTheWrite) {
    run_.Configure(test::RotatingConfig());
    Logger::Instance().Shutdown();
    const std::string before = test::ReadBytes(File(0) + L".gz");
    test::DebuggerChannel channel;
    LogBytes(5000);
    EXPECT_THAT(channel.Take(), ElementsAre(LostRecordText));
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0) + L".gz"));
    EXPECT_EQ(test::ReadBytes(File(0) + L".gz"), before);
}

TEST_F(LoggerShutdown, FailedFinalCompression_ReachesNoFileAndKeepsThePlainOne) {
    run_.Configure(test::RotatingConfig());
    test::DebuggerChannel channel;
    {
        const test::ScopedHook<test::ReadFileHook> hook([](auto...) {
            ::SetLastError(ERROR_CRC);
            return FALSE;
        });
        Logger::Instance().Shutdown();
    }
    EXPECT_THAT(channel.Take(), ElementsAre(LostRecordText));
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0), LogRun::Name(0) + L".gz"));
    EXPECT_THAT(run_.Records(0), ElementsAre(EndRecord));
}

TEST_F(LoggerShutdown, GzipNameTakenByADirectory_GivesTheLastLogUp) {
    std::filesystem::create_directory(File(0) + L".gz");
    run_.Configure(test::RotatingConfig());
    Logger::Instance().Shutdown();
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0) + L".gz"));
    EXPECT_TRUE(std::filesystem::is_directory(File(0) + L".gz"));
}

TEST_F(LoggerShutdown, LoggerThatWasNeverConfigured_DoesNothing) {
    int calls = 0;
    const test::ScopedHook<test::FindFirstFileWHook> hook([&](auto...) {
        ++calls;
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    });
    Logger::Instance().Shutdown();
    EXPECT_EQ(calls, 0);
}

/// Searches of retention with their threads, and the other steps of shutdown.
class EndSteps {
  public:
    explicit EndSteps(std::wstring lastFile)
        : lastFile_(std::move(lastFile)),
          first_([this](const wchar_t* path, WIN32_FIND_DATAW* found) {
              if (gate) {
                  ::SetEvent(searching.Get());
                  EXPECT_EQ(::WaitForSingleObject(gate.Get(), WaitLimitMs), WAIT_OBJECT_0);
              }
              steps.push_back(std::filesystem::path(path).filename().wstring());
              threads.push_back(::GetCurrentThreadId());
              return test::FindFirstFileWHook::Real(path, found);
          }),
          delete_([this](const wchar_t* path) {
              if (path == lastFile_) {
                  steps.emplace_back(L"delete");
              }
              return test::DeleteFileWHook::Real(path);
          }),
          thread_([this](auto... args) {
              ++created;
              return refuse ? HANDLE{} : test::CreateThreadHook::Real(args...);
          }),
          wait_([this](HANDLE object, DWORD limit) {
              if (limit == INFINITE) {
                  infiniteWaits.push_back(object);
              }
              return test::WaitForSingleObjectHook::Real(object, limit);
          }) {}

    /// Blocks each search until `Open`.
    void CloseGate() {
        gate.Reset(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
        searching.Reset(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    }
    void OpenGate() const { ::SetEvent(gate.Get()); }
    /// Waits until the first search is blocked.
    void AwaitSearch() const {
        ASSERT_EQ(test::WaitForSingleObjectHook::Real(searching.Get(), WaitLimitMs), WAIT_OBJECT_0);
    }

    Texts steps;
    std::vector<DWORD> threads;
    std::vector<HANDLE> infiniteWaits;
    std::atomic<int> created{0};
    bool refuse = false;
    framework::KernelHandle gate;
    framework::KernelHandle searching;

  private:
    std::wstring lastFile_;
    test::ScopedHook<test::FindFirstFileWHook> first_;
    test::ScopedHook<test::DeleteFileWHook> delete_;
    test::RetentionThreadHook thread_;
    test::ScopedHook<test::WaitForSingleObjectHook> wait_;
};

TEST_F(LoggerShutdown, LastRetention_RunsHereAfterTheFileIsDone) {
    run_.Configure(RetentionConfig());
    EndSteps end(File(0));
    Logger::Instance().Shutdown();
    EXPECT_THAT(end.steps, ElementsAre(L"delete", L"*.log", L"*.log.gz"));
    EXPECT_THAT(end.threads, testing::Each(::GetCurrentThreadId()));
    EXPECT_EQ(end.created, 0);
    EXPECT_THAT(end.infiniteWaits, IsEmpty());
}

TEST_F(LoggerShutdown, LastRetention_DeletesWhatEarlierProcessesLeft) {
    test::WriteFileBytes(run_.Folder().Path() / "earlier.log", std::string(100, 'x'));
    LoggerConfig config = RetentionConfig();
    config.CompressRotatedLogs = false;
    config.ExpiredPeriodInDays = 1000000;
    config.MaxLogFilesSize = 0;
    run_.Configure(config);
    Logger::Instance().Shutdown();
    EXPECT_THAT(Names(), IsEmpty()) << "a budget of 0 leaves nothing, its own file neither";
}

TEST_F(LoggerShutdown, RetentionDisabled_RunsNone) {
    LoggerConfig config = RetentionConfig();
    config.DisableLogRetention = true;
    run_.Configure(config);
    EndSteps end(File(0));
    Logger::Instance().Shutdown();
    EXPECT_THAT(end.steps, ElementsAre(L"delete"));
}

TEST_F(LoggerShutdown, FileSinkOff_StillRunsTheLastRetention) {
    LogRun::ConfigureIn(run_.Folder().WithBackslash(), RetentionConfig());
    EndSteps end(File(0));
    Logger::Instance().Shutdown();
    EXPECT_THAT(end.steps, ElementsAre(L"*.log", L"*.log.gz"));
}

TEST_F(LoggerShutdown, NoFileOpen_StillRunsTheLastRetention) {
    test::WriteFileBytes(File(0), "in the way");
    run_.Configure(RetentionConfig());
    EndSteps end(File(0));
    Logger::Instance().Shutdown();
    EXPECT_THAT(end.steps, ElementsAre(L"*.log", L"*.log.gz"));
    EXPECT_EQ(test::ReadBytes(File(0)), "in the way");
}

TEST_F(LoggerShutdown, RetentionThreadThatWasRefused_IsMadeUpForHere) {
    run_.Configure(RetentionConfig());
    EndSteps end(File(1));
    end.refuse = true;
    LogBytes(1002);
    EXPECT_EQ(end.created, 1);
    Logger::Instance().Shutdown();
    EXPECT_THAT(end.steps, ElementsAre(L"delete", L"*.log", L"*.log.gz"));
    EXPECT_THAT(end.infiniteWaits, IsEmpty());
}

TEST_F(LoggerShutdown, RetentionThreadStillRunning_IsWaitedForAndNotRepeated) {
    run_.Configure(RetentionConfig());
    EndSteps end(File(1));
    end.CloseGate();
    LogBytes(1002);
    end.AwaitSearch();
    const framework::KernelHandle ending(test::CreateThreadHook::Real(
        nullptr, 0,
        [](void*) -> DWORD {
            Logger::Instance().Shutdown();
            return 0;
        },
        nullptr, 0, nullptr));
    EXPECT_EQ(test::WaitForSingleObjectHook::Real(ending.Get(), 200),
              static_cast<DWORD>(WAIT_TIMEOUT));
    end.OpenGate();
    ASSERT_EQ(test::WaitForSingleObjectHook::Real(ending.Get(), WaitLimitMs), WAIT_OBJECT_0);
    EXPECT_THAT(end.steps, testing::UnorderedElementsAre(L"delete", L"*.log", L"*.log.gz"));
    EXPECT_EQ(end.created, 1);
    EXPECT_EQ(end.infiniteWaits.size(), 1U);
}

TEST_F(LoggerShutdown, RetentionThreadThatHasEnded_IsCollectedAndAFurtherRunMade) {
    run_.Configure(RetentionConfig());
    EndSteps end(File(1));
    HANDLE thread = nullptr;
    std::vector<HANDLE> closed;
    {
        const test::RetentionThreadHook hook([&](auto... args) {
            thread = test::CreateThreadHook::Real(args...);
            return thread;
        });
        LogBytes(1002);
    }
    ASSERT_EQ(test::WaitForSingleObjectHook::Real(thread, WaitLimitMs), WAIT_OBJECT_0);
    end.steps.clear();
    const test::ScopedHook<test::CloseHandleHook> closing([&](HANDLE handle) {
        closed.push_back(handle);
        return test::CloseHandleHook::Real(handle);
    });
    Logger::Instance().Shutdown();
    EXPECT_THAT(closed, testing::Contains(thread));
    EXPECT_THAT(end.steps, ElementsAre(L"delete", L"*.log", L"*.log.gz"));
}

TEST_F(LoggerShutdown, RefusedWaitForTheRetentionThread_CountsAsRunningAndHoldsUpNothing) {
    run_.Configure(RetentionConfig());
    EndSteps end(File(2));
    HANDLE thread = nullptr;
    {
        const test::RetentionThreadHook hook([&](auto... args) {
            ++end.created;
            thread = test::CreateThreadHook::Real(args...);
            return thread;
        });
        LogBytes(1002);
    }
    ASSERT_EQ(test::WaitForSingleObjectHook::Real(thread, WaitLimitMs), WAIT_OBJECT_0);
    end.steps.clear();
    std::vector<DWORD> limits;
    const test::ScopedHook<test::WaitForSingleObjectHook> refusal([&](HANDLE object, DWORD limit) {
        if (object != thread) {
            return test::WaitForSingleObjectHook::Real(object, limit);
        }
        limits.push_back(limit);
        ::SetLastError(ERROR_INVALID_HANDLE);
        return static_cast<DWORD>(WAIT_FAILED);
    });
    LogBytes(1002);
    Logger::Instance().Shutdown();
    EXPECT_THAT(limits, ElementsAre(0U, 0U, INFINITE));
    EXPECT_THAT(end.steps, ElementsAre(L"delete")) << "no second run, not at the end either";
    EXPECT_EQ(end.created, 1);
}

/// Logs to the folder of its argument and returns, so that process exit shuts the logger down.
const test::ChildRoutine exitingLogger(L"log-and-exit", [](const std::vector<std::wstring>& args) {
    LoggerConfig config = test::RotatingConfig();
    config.LogToFile = true;
    config.MaxFileSize = 0;
    config.LogDirectory = args.at(0);
    Logger::Instance().Configure(config);
    Logger::Instance().WriteHeader();
    LogMessage(L"one");
    return 7;
});

TEST(LoggerAtProcessExit, ReturnFromMain_EndsAndCompressesTheLog) {
    const test::ScratchFolder folder;
    test::Child child(test::SelfCommandLine(L"log-and-exit", {folder.Path().wstring() + L"/"}));
    EXPECT_EQ(child.Wait(), 7U);
    const Texts names = folder.Names();
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(names[0].substr(names[0].size() - 9), L".0.log.gz");
    const std::string bytes = test::Gunzip(test::ReadBytes(folder.Path() / names[0]));
    test::WriteFileBytes(folder.Path() / "plain", bytes);
    const Texts records = test::SplitRecords(test::ReadLogText(folder.Path() / "plain"));
    ASSERT_EQ(records.size(), 5U);
    EXPECT_EQ(records[3], L"[T][quillon] one");
    EXPECT_EQ(records[4], EndRecord);
}

}  // namespace
