// When a running logger starts retention.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "framework/logger/logger.h"
#include "framework/system/unique_handle.h"
#include "tests/framework/logger/log_run.h"
#include "tests/support/debugger_channel.h"
#include "tests/support/platform_hooks.h"

namespace {

using framework::LoggerConfig;
using test::HeaderAnd;
using test::LogBytes;
using test::LogMessage;
using test::LogRun;
using test::RecordOfBytes;
using test::RetentionConfig;
using test::StepRecorder;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr DWORD WaitLimitMs = 20000;

std::wstring NameAfter(const std::wstring& path) {
    return std::filesystem::path(path).filename().wstring();
}

class LoggerRetention : public test::LogRunTest {};

/// The platform calls of retention.
class RetentionCalls {
  public:
    RetentionCalls()
        : thread_([this](auto... args) { return Create(args...); }),
          first_([this](const wchar_t* path, WIN32_FIND_DATAW* found) {
              if (gate) {
                  EXPECT_EQ(::WaitForSingleObject(gate.Get(), WaitLimitMs), WAIT_OBJECT_0);
              }
              steps.Add(path);
              return test::FindFirstFileWHook::Real(path, found);
          }) {}

    HANDLE Create(SECURITY_ATTRIBUTES* attributes, SIZE_T stack, LPTHREAD_START_ROUTINE routine,
                  void* argument, DWORD flags, DWORD* id) {
        EXPECT_EQ(attributes, nullptr);
        EXPECT_EQ(stack, 0U);
        EXPECT_EQ(argument, &framework::Logger::Instance());
        EXPECT_EQ(flags, 0U);
        ++threads;
        if (refuse) {
            ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        last = test::CreateThreadHook::Real(attributes, stack, routine, argument, flags, id);
        return last;
    }

    /// Waits until the last retention thread has ended.
    void AwaitEnd() const { ASSERT_EQ(::WaitForSingleObject(last, WaitLimitMs), WAIT_OBJECT_0); }

    StepRecorder steps;
    std::atomic<int> threads{0};
    bool refuse = false;
    HANDLE last = nullptr;
    framework::KernelHandle gate;  ///< if set, each search waits for it

  private:
    test::RetentionThreadHook thread_;
    test::ScopedHook<test::FindFirstFileWHook> first_;
};

TEST_F(LoggerRetention, Retention_RunsOnItsOwnThreadOverBothPatterns) {
    run_.Configure(RetentionConfig());
    RetentionCalls calls;
    LogBytes(1002);
    EXPECT_EQ(calls.threads, 1);
    calls.AwaitEnd();
    const std::wstring directory = run_.Folder().WithBackslash();
    EXPECT_THAT(calls.steps.Take(), ElementsAre(directory + L"*.log", directory + L"*.log.gz"));
    EXPECT_THAT(run_.Records(1), test::HeaderRecords()) << "a pass that does its work is silent";
}

TEST_F(LoggerRetention, Retention_WithoutCompressionLooksAtPlainFilesAlone) {
    LoggerConfig config = RetentionConfig();
    config.CompressRotatedLogs = false;
    run_.Configure(config);
    RetentionCalls calls;
    LogBytes(1002);
    calls.AwaitEnd();
    EXPECT_THAT(calls.steps.Take(), ElementsAre(run_.Folder().WithBackslash() + L"*.log"));
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0), LogRun::Name(1)));
}

TEST_F(LoggerRetention, Retention_DoesNotRunAtTheStart) {
    const RetentionCalls calls;
    run_.Configure(RetentionConfig());
    LogMessage(L"one");
    EXPECT_EQ(calls.threads, 0);
}

TEST_F(LoggerRetention, RetentionDisabled_StartsNoThreadAndStillCompresses) {
    LoggerConfig config = RetentionConfig();
    config.DisableLogRetention = true;
    run_.Configure(config);
    RetentionCalls calls;
    LogBytes(1002);
    LogRun::End();
    EXPECT_EQ(calls.threads, 0);
    EXPECT_THAT(calls.steps.Take(), IsEmpty());
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0) + L".gz", LogRun::Name(1) + L".gz"));
}

TEST_F(LoggerRetention, RetentionThreadRefused_IsTriedAgainAtTheNextRotation) {
    run_.Configure(RetentionConfig());
    RetentionCalls calls;
    test::DebuggerChannel channel;
    calls.refuse = true;
    LogBytes(1002);
    LogBytes(1002);
    EXPECT_EQ(calls.threads, 2);
    EXPECT_THAT(channel.Take(), IsEmpty());
    EXPECT_EQ(run_.Records(1), HeaderAnd({RecordOfBytes(1002)})) << "nothing is reported";
    calls.refuse = false;
    LogBytes(1002);
    EXPECT_EQ(calls.threads, 3);
    calls.AwaitEnd();
    EXPECT_EQ(calls.steps.Take().size(), 2U);
}

TEST_F(LoggerRetention, RequestWhileRetentionRuns_IsDroppedAndTheHandleCollectedLater) {
    run_.Configure(RetentionConfig());
    RetentionCalls calls;
    calls.gate.Reset(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    std::vector<HANDLE> closed;
    const test::ScopedHook<test::CloseHandleHook> closing([&](HANDLE handle) {
        closed.push_back(handle);
        return test::CloseHandleHook::Real(handle);
    });
    LogBytes(1002);
    const HANDLE first = calls.last;
    closed.clear();  // its number may have been another handle's before
    LogBytes(1002);
    LogBytes(1002);
    EXPECT_EQ(calls.threads, 1);
    ::SetEvent(calls.gate.Get());
    calls.AwaitEnd();
    EXPECT_EQ(calls.steps.Take().size(), 2U) << "a dropped request isn't made up for";
    EXPECT_THAT(closed, testing::Not(testing::Contains(first)));
    LogBytes(1002);
    EXPECT_EQ(calls.threads, 2);
    EXPECT_THAT(closed, testing::Contains(first));
    calls.AwaitEnd();
}

TEST_F(LoggerRetention, Budgets_AreHandedToTheirPatterns) {
    // 32 MiB and one byte: 16 MiB for plain files, one byte more for compressed ones. Of two
    // simulated files, the older brings the total to exactly 16 MiB.
    LoggerConfig config = RetentionConfig();
    config.MaxLogFilesSize = 33554433;
    run_.Configure(config);
    const test::ScopedHook<test::FindFirstFileWHook> first(
        [](const wchar_t*, WIN32_FIND_DATAW* found) -> HANDLE {
            ::lstrcpynW(found->cFileName, L"new", MAX_PATH);
            found->nFileSizeLow = 16777215;
            found->ftCreationTime = {0xFFFFFFFF, 0x7FFFFFFF};
            return &found->cAlternateFileName;
        });
    const test::ScopedHook<test::FindNextFileWHook> next(
        [last = false](HANDLE, WIN32_FIND_DATAW* found) mutable -> BOOL {
            if (std::exchange(last, !last)) {
                ::SetLastError(ERROR_NO_MORE_FILES);
                return FALSE;
            }
            ::lstrcpynW(found->cFileName, L"old", MAX_PATH);
            found->nFileSizeLow = 1;
            found->ftCreationTime = {0, 0x7FFFFFFF};
            return TRUE;
        });
    const test::ScopedHook<test::FindCloseHook> close([](HANDLE) { return TRUE; });
    StepRecorder deleted;
    const test::ScopedHook<test::DeleteFileWHook> deletion([&](const wchar_t* path) {
        deleted.Add(NameAfter(path));
        return TRUE;
    });
    EXPECT_EQ(framework::RetentionThreadProc(&framework::Logger::Instance()), 0U);
    EXPECT_THAT(deleted.Take(), ElementsAre(L"old"));
}

TEST_F(LoggerRetention, RetentionThreadWithoutALogger_Gives1) {
    EXPECT_EQ(framework::RetentionThreadProc(nullptr), 1U);
}

TEST_F(LoggerRetention, RetentionLineOnItsThread_IsLoggedLikeAnyOther) {
    run_.Configure(RetentionConfig());
    RetentionCalls calls;
    const test::ScopedHook<test::FindFirstFileWHook> failing([](auto...) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    });
    LogBytes(1002);
    calls.AwaitEnd();
    const std::wstring failed = L"[E][quillon] Failed to acquire the log files";
    const std::wstring continued = L"[E][quillon] Continues the file search failed";
    EXPECT_EQ(run_.Records(1), HeaderAnd({failed, continued, failed, continued}));
}

}  // namespace
