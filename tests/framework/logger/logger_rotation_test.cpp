// When the logger switches to the next file, and what happens to records meanwhile.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <utility>
#include <vector>

#include "framework/logger/internal_trace.h"
#include "framework/logger/logger.h"
#include "framework/system/unique_handle.h"
#include "tests/framework/logger/log_run.h"
#include "tests/support/debugger_channel.h"
#include "tests/support/platform_hooks.h"

namespace {

using framework::LoggerConfig;
using test::CreationText;
using test::HeaderAnd;
using test::LogBytes;
using test::LogMessage;
using test::LogRun;
using test::PlainConfig;
using test::RecordOfBytes;
using test::RetentionConfig;
using test::RotatingConfig;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::wstring>;

constexpr DWORD WaitLimitMs = 20000;

class LoggerRotation : public test::LogRunTest {};

TEST_F(LoggerRotation, RecordReachingLimitExactly_StaysAndTheNextRotates) {
    run_.Configure(PlainConfig());
    LogBytes(900, L'a');
    LogBytes(100, L'b');
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0)));
    LogBytes(70);
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0), LogRun::Name(1)));
    EXPECT_THAT(run_.Records(0),
                ElementsAre(RecordOfBytes(900, L'a'), RecordOfBytes(100, L'b'), RecordOfBytes(70)));
    EXPECT_EQ(run_.Records(1), test::HeaderRecords());
}

TEST_F(LoggerRotation, LimitOneByteBelowTheRecords_Rotates) {
    LoggerConfig config = PlainConfig();
    config.MaxFileSize = 999;
    run_.Configure(config);
    LogBytes(1000);
    EXPECT_EQ(Names().size(), 2U);
}

TEST_F(LoggerRotation, LimitOneByteAboveTheRecords_DoesNotRotate) {
    LoggerConfig config = PlainConfig();
    config.MaxFileSize = 1001;
    run_.Configure(config);
    LogBytes(1000);
    EXPECT_EQ(Names().size(), 1U);
    LogBytes(70);
    EXPECT_EQ(Names().size(), 2U);
}

TEST_F(LoggerRotation, HeaderOfANewFile_DoesNotCount) {
    run_.Configure(PlainConfig());
    LogBytes(1002);
    LogBytes(1000, L'a');
    EXPECT_EQ(Names().size(), 2U);
    LogBytes(70, L'b');
    EXPECT_EQ(Names().size(), 3U);
    EXPECT_EQ(run_.Records(1), HeaderAnd({RecordOfBytes(1000, L'a'), RecordOfBytes(70, L'b')}));
    EXPECT_GT(std::filesystem::file_size(File(1)), 1000U + 70U + 2U);
}

TEST_F(LoggerRotation, HeaderOfTheFirstFile_Counts) {
    LoggerConfig config = PlainConfig();
    config.MaxFileSize = 200;
    run_.Configure(config);
    framework::Logger::Instance().WriteHeader();
    EXPECT_GE(Names().size(), 2U);
}

TEST_F(LoggerRotation, LimitOf0_NeverRotates) {
    LoggerConfig config = PlainConfig();
    config.MaxFileSize = 0;
    run_.Configure(config);
    for (int record = 0; record < 20; ++record) {
        LogBytes(30000);
    }
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0)));
}

TEST_F(LoggerRotation, LimitOf0_LeavesRetentionToTheEnd) {
    LoggerConfig config = RetentionConfig();
    config.MaxFileSize = 0;
    run_.Configure(config);
    Texts searches;
    const test::ScopedHook<test::FindFirstFileWHook> search([&](const wchar_t* path, auto...) {
        searches.push_back(std::filesystem::path(path).filename().wstring());
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    });
    int threads = 0;
    const test::RetentionThreadHook thread([&](auto...) {
        ++threads;
        return HANDLE{};
    });
    for (int record = 0; record < 20; ++record) {
        LogBytes(30000);
    }
    EXPECT_THAT(searches, IsEmpty());
    framework::Logger::Instance().Shutdown();
    EXPECT_THAT(searches, ElementsAre(L"*.log", L"*.log.gz"));
    EXPECT_EQ(threads, 0);
}

TEST_F(LoggerRotation, RecordsBelowTheLimit_AskForNoToken) {
    int calls = 0;
    const test::ScopedHook<test::OpenThreadTokenHook> hook([&](auto...) {
        ++calls;
        ::SetLastError(ERROR_NO_TOKEN);
        return FALSE;
    });
    run_.Configure(PlainConfig());
    LogBytes(1000);
    EXPECT_EQ(calls, 0);
    LogBytes(70);
    EXPECT_EQ(calls, 1);
}

TEST_F(LoggerRotation, ElevenFilesOfARun_AreNumberedWithoutLeadingZeros) {
    run_.Configure(PlainConfig());
    for (int file = 0; file < 11; ++file) {
        LogMessage(L"record " + std::to_wstring(file));
        LogBytes(1002);
    }
    Texts names;
    for (unsigned number = 0; number <= 11; ++number) {
        names.push_back(LogRun::Name(number));
    }
    EXPECT_THAT(Names(), testing::UnorderedElementsAreArray(names));
    EXPECT_EQ(run_.Records(9), HeaderAnd({L"[T][quillon] record 9", RecordOfBytes(1002)}));
    EXPECT_EQ(run_.Records(10), HeaderAnd({L"[T][quillon] record 10", RecordOfBytes(1002)}));
}

TEST_F(LoggerRotation, OldFile_IsLeftAsGzipWithoutEnd) {
    run_.Configure(RotatingConfig());
    LogBytes(1002);
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0) + L".gz", LogRun::Name(1)));
    EXPECT_THAT(run_.Records(0), ElementsAre(RecordOfBytes(1002)));
    EXPECT_EQ(run_.Records(1), test::HeaderRecords());
}

TEST_F(LoggerRotation, NextFileThatExists_KeepsTheOldOneUntilItIsGone) {
    test::WriteFileBytes(File(1), "in the way");
    run_.Configure(PlainConfig());
    test::DebuggerChannel channel;
    LogBytes(1002, L'a');
    LogBytes(70, L'b');
    EXPECT_THAT(channel.Take(),
                ElementsAre(CreationText(File(1), L"80"), CreationText(File(1), L"80")));
    EXPECT_EQ(test::ReadBytes(File(1)), "in the way");
    std::filesystem::remove(File(1));
    LogBytes(72, L'c');
    LogBytes(74, L'd');
    EXPECT_THAT(channel.Take(), IsEmpty());
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0), LogRun::Name(1)));
    EXPECT_THAT(run_.Records(0), ElementsAre(RecordOfBytes(1002, L'a'), RecordOfBytes(70, L'b'),
                                             RecordOfBytes(72, L'c')));
    EXPECT_EQ(run_.Records(1), HeaderAnd({RecordOfBytes(74, L'd')}));
}

TEST_F(LoggerRotation, NextFileRefused_CompressesAndDeletesNothing) {
    run_.Configure(RetentionConfig());
    const test::ScopedHook<test::CreateFileWHook> creation(
        [&](const wchar_t* path, auto... rest) -> HANDLE {
            if (path == File(1)) {
                ::SetLastError(ERROR_ACCESS_DENIED);
                return INVALID_HANDLE_VALUE;
            }
            return test::CreateFileWHook::Real(path, rest...);
        });
    int others = 0;
    const test::ScopedHook<test::DeleteFileWHook> deletion([&](auto...) { return ++others; });
    const test::RetentionThreadHook thread([&](auto...) {
        ++others;
        return HANDLE{};
    });
    test::DebuggerChannel channel;
    LogBytes(1002);
    EXPECT_THAT(channel.Take(), ElementsAre(CreationText(File(1), L"5")));
    EXPECT_EQ(others, 0);
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0)));
}

TEST_F(LoggerRotation, ByteOrderMarkFailing_LeavesTheEmptyFileInTheWay) {
    run_.Configure(PlainConfig());
    test::DebuggerChannel channel;
    {
        const test::ScopedHook<test::WriteFileHook> hook(
            [](HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* position) {
                if (size == 2) {
                    ::SetLastError(ERROR_DISK_FULL);
                    return FALSE;
                }
                return test::WriteFileHook::Real(file, data, size, written, position);
            });
        LogBytes(1002);
    }
    EXPECT_THAT(channel.Take(), ElementsAre(L"Write operation failed, error: 112",
                                            L"Can't append byte order mark"));
    EXPECT_EQ(test::ReadBytes(File(1)), "");
    LogBytes(70);
    EXPECT_THAT(channel.Take(), ElementsAre(CreationText(File(1), L"80")));
    EXPECT_THAT(run_.Records(0), ElementsAre(RecordOfBytes(1002), RecordOfBytes(70)));
}

/// Changes the result of one write of `size` bytes.
class OneWrite {
  public:
    using Outcome = std::function<BOOL(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*)>;

    OneWrite(DWORD size, Outcome outcome)
        : hook_([size, outcome = std::move(outcome), done = false](HANDLE file, const void* data,
                                                                   DWORD bytes, DWORD* written,
                                                                   OVERLAPPED* position) mutable {
              if (bytes == size && !std::exchange(done, true)) {
                  return outcome(file, data, bytes, written, position);
              }
              return test::WriteFileHook::Real(file, data, bytes, written, position);
          }) {}

  private:
    test::ScopedHook<test::WriteFileHook> hook_;
};

TEST_F(LoggerRotation, DiskFull_LosesTheRecordAloneAndCountsNothing) {
    run_.Configure(PlainConfig());
    test::DebuggerChannel channel;
    const OneWrite failing(500, [](auto...) {
        ::SetLastError(ERROR_DISK_FULL);
        return FALSE;
    });
    LogBytes(500, L'a');
    EXPECT_THAT(channel.Take(), ElementsAre(L"Write operation failed, error: 112"));
    LogBytes(600, L'b');
    LogBytes(400, L'c');
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0)));
    EXPECT_THAT(run_.Records(0), ElementsAre(RecordOfBytes(600, L'b'), RecordOfBytes(400, L'c')));
    EXPECT_THAT(channel.Take(), IsEmpty());
}

TEST_F(LoggerRotation, ShortWrite_LeavesACutRecordAndCountsNothing) {
    run_.Configure(PlainConfig());
    test::DebuggerChannel channel;
    const OneWrite cut(
        500, [](HANDLE file, const void* data, DWORD, DWORD* written, OVERLAPPED* position) {
            return test::WriteFileHook::Real(file, data, 100, written, position);
        });
    LogBytes(500, L'a');
    EXPECT_THAT(channel.Take(), ElementsAre(L"Write operation failed, error: 100(written bytes) != "
                                            L"500(bytes to write)"));
    LogBytes(1000, L'b');
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0)));
    EXPECT_EQ(std::filesystem::file_size(File(0)), 2U + 100U + 1000U);
}

TEST_F(LoggerRotation, FailedWriteWhileOverTheLimit_DoesNotRotate) {
    test::WriteFileBytes(File(1), "in the way");
    run_.Configure(PlainConfig());
    LogBytes(1002);
    std::filesystem::remove(File(1));
    const OneWrite failing(500, [](auto...) {
        ::SetLastError(ERROR_WRITE_FAULT);
        return FALSE;
    });
    LogBytes(500);
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0)));
    LogBytes(70);
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0), LogRun::Name(1)));
}

TEST_F(LoggerRotation, HeaderOfTheNewFileFailing_LosesItAndGoesOn) {
    run_.Configure(PlainConfig());
    test::DebuggerChannel channel;
    {
        const test::ScopedHook<test::WriteFileHook> hook(
            [](HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* position) {
                if (size != 2 && size != 1002) {
                    ::SetLastError(ERROR_DISK_FULL);
                    return FALSE;
                }
                return test::WriteFileHook::Real(file, data, size, written, position);
            });
        LogBytes(1002);
    }
    EXPECT_EQ(channel.Take(), Texts(3, L"Write operation failed, error: 112"));
    LogBytes(70);
    EXPECT_THAT(run_.Records(1), ElementsAre(RecordOfBytes(70)));
}

TEST_F(LoggerRotation, RecordFromWithinAFailingSwitch_WaitsAndGoesToTheOldFileUncounted) {
    run_.Configure(PlainConfig());
    const test::ScopedHook<test::CreateFileWHook> hook(
        [&](const wchar_t* path, auto... rest) -> HANDLE {
            if (path == File(1)) {
                framework::InternalTrace(4, L"from within");
                ::SetLastError(ERROR_ACCESS_DENIED);
                return INVALID_HANDLE_VALUE;
            }
            return test::CreateFileWHook::Real(path, rest...);
        });
    LogBytes(1002);
    EXPECT_THAT(run_.Records(0), testing::Each(testing::Ne(L"")));
    // Three times: two checks for links at the new name, and its creation.
    EXPECT_THAT(run_.Records(0),
                ElementsAre(RecordOfBytes(1002), L"[T][quillon] from within",
                            L"[T][quillon] from within", L"[T][quillon] from within"));
}

TEST_F(LoggerRotation, RecordFromWithinASwitch_GoesToTheNewFile) {
    run_.Configure(PlainConfig());
    const test::ScopedHook<test::CloseHandleHook> hook([inside = false](HANDLE handle) mutable {
        if (!std::exchange(inside, true)) {
            framework::InternalTrace(4, L"from within");
        }
        return test::CloseHandleHook::Real(handle);
    });
    LogBytes(1002);
    EXPECT_THAT(run_.Records(0), ElementsAre(RecordOfBytes(1002)));
    Texts records = test::HeaderRecords();
    records.insert(records.begin(), L"[T][quillon] from within");
    EXPECT_EQ(run_.Records(1), records);
}

/// Makes the calling thread impersonate during its lifetime.
class Impersonation {
  public:
    Impersonation() { EXPECT_TRUE(::ImpersonateSelf(SecurityImpersonation)); }
    ~Impersonation() { ::RevertToSelf(); }
    Impersonation(const Impersonation&) = delete;
    Impersonation& operator=(const Impersonation&) = delete;
};

TEST_F(LoggerRotation, ImpersonatingThread_LeavesTheRotationToTheNextOneWithoutAToken) {
    run_.Configure(RotatingConfig());
    {
        const Impersonation impersonation;
        LogBytes(1002, L'a');
        LogBytes(1002, L'b');
        EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0)));
    }
    LogBytes(70, L'c');
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0) + L".gz", LogRun::Name(1)));
    EXPECT_THAT(run_.Records(0), ElementsAre(RecordOfBytes(1002, L'a'), RecordOfBytes(1002, L'b'),
                                             RecordOfBytes(70, L'c')));
}

TEST_F(LoggerRotation, ImpersonationElsewhere_DoesNotHoldUpAThreadWithoutAToken) {
    run_.Configure(RotatingConfig());
    const Impersonation impersonation;
    const framework::KernelHandle thread(::CreateThread(
        nullptr, 0,
        [](void*) -> DWORD {
            LogBytes(1002);
            return 0;
        },
        nullptr, 0, nullptr));
    ASSERT_EQ(::WaitForSingleObject(thread.Get(), WaitLimitMs), WAIT_OBJECT_0);
    EXPECT_EQ(Names().size(), 2U);
}

TEST_F(LoggerRotation, Token_IsAskedForByItsNumbersAndClosed) {
    run_.Configure(RotatingConfig());
    HANDLE token = nullptr;
    std::vector<HANDLE> closed;
    const test::ScopedHook<test::OpenThreadTokenHook> hook(
        [&](HANDLE thread, DWORD access, BOOL asSelf, HANDLE* result) {
            EXPECT_EQ(thread, ::GetCurrentThread());
            EXPECT_EQ(access, 8U);
            EXPECT_EQ(asSelf, FALSE);
            const BOOL ok = test::OpenThreadTokenHook::Real(thread, access, asSelf, result);
            token = *result;
            closed.clear();
            return ok;
        });
    const test::ScopedHook<test::CloseHandleHook> closing([&](HANDLE handle) {
        closed.push_back(handle);
        return test::CloseHandleHook::Real(handle);
    });
    const Impersonation impersonation;
    LogBytes(1002);
    EXPECT_NE(token, nullptr);
    EXPECT_THAT(closed, testing::Contains(token));
}

TEST_F(LoggerRotation, AnyFailureOfTheTokenCall_LetsTheRotationGoOn) {
    run_.Configure(RotatingConfig());
    unsigned files = 1;
    for (const auto error : {ERROR_ACCESS_DENIED, ERROR_NO_TOKEN, ERROR_BAD_IMPERSONATION_LEVEL}) {
        const test::ScopedHook<test::OpenThreadTokenHook> hook([&](auto...) {
            ::SetLastError(static_cast<DWORD>(error));
            return FALSE;
        });
        LogBytes(1002);
        EXPECT_EQ(Names().size(), ++files) << error;
    }
}

TEST_F(LoggerRotation, Flush_WaitsWhileTheFileIsSwitchedAndNotWhileItIsCompressed) {
    run_.Configure(RotatingConfig());
    const framework::KernelHandle flushed(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    const framework::KernelHandle inSwitch(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    HANDLE events[] = {inSwitch.Get(), flushed.Get()};
    framework::KernelHandle flusher;
    DWORD duringSwitch = WAIT_FAILED;
    DWORD duringCompression = WAIT_FAILED;
    const test::ScopedHook<test::CreateFileWHook> hook(
        [&](const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* attributes,
            DWORD disposition, DWORD flags, HANDLE model) {
            if (path == File(1) && disposition == CREATE_NEW) {
                flusher.Reset(::CreateThread(
                    nullptr, 0,
                    [](void* argument) -> DWORD {
                        auto* const both = static_cast<HANDLE*>(argument);
                        ::SetEvent(both[0]);
                        framework::LogFlush();
                        ::SetEvent(both[1]);
                        return 0;
                    },
                    events, 0, nullptr));
                EXPECT_EQ(::WaitForSingleObject(inSwitch.Get(), WaitLimitMs), WAIT_OBJECT_0);
                duringSwitch = ::WaitForSingleObject(flushed.Get(), 100);
            }
            if (path == File(0) && access == GENERIC_READ) {
                duringCompression = ::WaitForSingleObject(flushed.Get(), WaitLimitMs);
            }
            return test::CreateFileWHook::Real(path, access, share, attributes, disposition, flags,
                                               model);
        });
    LogBytes(1002);
    EXPECT_EQ(duringSwitch, static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(duringCompression, WAIT_OBJECT_0);
    ASSERT_EQ(::WaitForSingleObject(flusher.Get(), WaitLimitMs), WAIT_OBJECT_0);
}

}  // namespace
