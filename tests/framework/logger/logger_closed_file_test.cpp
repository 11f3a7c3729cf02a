// What the logger does with the file that it has closed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/framework/logger/log_run.h"
#include "tests/support/debugger_channel.h"
#include "tests/support/gzip_reader.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/zlib_hooks.h"

namespace {

using framework::LoggerConfig;
using test::HeaderAnd;
using test::LogBytes;
using test::LogMessage;
using test::LogRun;
using test::RecordOfBytes;
using test::RetentionConfig;
using test::RotatingConfig;
using test::StepRecorder;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::wstring>;

std::wstring NameAfter(const std::wstring& path) {
    return std::filesystem::path(path).filename().wstring();
}

class LoggerClosedFile : public test::LogRunTest {};

TEST_F(LoggerClosedFile, Steps_ComeInTheirOrder) {
    StepRecorder steps;
    std::map<HANDLE, std::wstring> open;
    const test::ScopedHook<test::CreateFileWHook> creation(
        [&](const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* attributes,
            DWORD disposition, DWORD flags, HANDLE model) {
            const HANDLE handle = test::CreateFileWHook::Real(path, access, share, attributes,
                                                              disposition, flags, model);
            if (const std::wstring name = NameAfter(path); name.find(L"quillon") == 0) {
                const bool looks = (flags & FILE_FLAG_OPEN_REPARSE_POINT) != 0;
                const std::wstring kind = disposition == CREATE_NEW ? L"create " : L"open ";
                steps.Add((looks ? L"look " : kind) + name.substr(28));
                open[handle] = name.substr(28);
            }
            return handle;
        });
    const test::ScopedHook<test::CloseHandleHook> closing([&](HANDLE handle) {
        if (const auto known = open.find(handle);
            handle != INVALID_HANDLE_VALUE && known != open.end()) {
            steps.Add(L"close " + known->second);
            open.erase(known);
        }
        return test::CloseHandleHook::Real(handle);
    });
    const test::ScopedHook<test::DeleteFileWHook> deletion([&](const wchar_t* path) {
        steps.Add(L"delete " + NameAfter(path).substr(28));
        return test::DeleteFileWHook::Real(path);
    });
    const test::ScopedHook<test::OpenThreadTokenHook> token([&](auto... args) {
        steps.Add(L"token");
        return test::OpenThreadTokenHook::Real(args...);
    });
    const test::RetentionThreadHook thread([&](auto...) {
        steps.Add(L"thread");
        return HANDLE{};
    });
    const test::ScopedZlib zlib({.open =
                                     [&](const char* path, const char* mode) {
                                         steps.Add(L"gzopen");
                                         return ::gzopen(path, mode);
                                     },
                                 .write = {},
                                 .close = {}});
    run_.Configure(RetentionConfig());
    EXPECT_THAT(steps.Take(), ElementsAre(L"look 0.log", L"look 0.log", L"create 0.log"));
    LogBytes(1002);
    EXPECT_THAT(steps.Take(),
                ElementsAre(L"token", L"look 1.log", L"look 1.log", L"create 1.log", L"close 0.log",
                            L"look 0.log.gz", L"look 0.log.gz", L"open 0.log", L"gzopen",
                            L"close 0.log", L"delete 0.log", L"thread"));
}

TEST_F(LoggerClosedFile, CompressionFailure_IsLoggedInTheNewFileAndThePlainFileStays) {
    run_.Configure(RotatingConfig());
    {
        const test::ScopedHook<test::ReadFileHook> hook([](auto...) {
            ::SetLastError(ERROR_CRC);
            return FALSE;
        });
        LogBytes(1002, L'a');
    }
    const std::wstring line =
        L"[E][quillon] CompressFile: ReadFile failed with error 23 for " + File(0);
    EXPECT_EQ(run_.Records(1), HeaderAnd({line}));
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0), LogRun::Name(0) + L".gz", LogRun::Name(1)));
    LogBytes(1002, L'b');
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0), LogRun::Name(0) + L".gz",
                                     LogRun::Name(1) + L".gz", LogRun::Name(2)))
        << "a file that stayed is never tried again";
}

TEST_F(LoggerClosedFile, CompressionFailureInANewFile_CountsLikeAnyRecord) {
    LoggerConfig config = RotatingConfig();
    config.MaxFileSize = 200;
    run_.Configure(config);
    int reads = 0;
    {
        // Only the first one fails: its own line exceeds the limit and rotates again.
        const test::ScopedHook<test::ReadFileHook> hook([&](auto... args) {
            if (++reads == 1) {
                ::SetLastError(ERROR_CRC);
                return FALSE;
            }
            return test::ReadFileHook::Real(args...);
        });
        LogBytes(202);
    }
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0), LogRun::Name(0) + L".gz",
                                     LogRun::Name(1) + L".gz", LogRun::Name(2)));
}

TEST_F(LoggerClosedFile, SourceHeldOpenForWritingByAnother_StaysPlain) {
    run_.Configure(RotatingConfig());
    const test::ScopedHook<test::CreateFileWHook> hook(
        [&](const wchar_t* path, DWORD access, auto... rest) -> HANDLE {
            if (path == File(0) && access == GENERIC_READ) {
                ::SetLastError(ERROR_SHARING_VIOLATION);
                return INVALID_HANDLE_VALUE;
            }
            return test::CreateFileWHook::Real(path, access, rest...);
        });
    LogBytes(1002);
    EXPECT_EQ(run_.Records(1),
              HeaderAnd({L"[E][quillon] CompressFile: CreateFileW failed for " + File(0)}));
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0), LogRun::Name(1)));
}

TEST_F(LoggerClosedFile, GzipNameTakenByADirectory_GivesTheOldLogUp) {
    std::filesystem::create_directory(File(0) + L".gz");
    run_.Configure(RotatingConfig());
    LogBytes(1002);
    EXPECT_EQ(run_.Records(1), HeaderAnd({L"[E][quillon] CompressFile: Failed to open "}));
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0) + L".gz", LogRun::Name(1)));
}

TEST_F(LoggerClosedFile, GzipWriteFailure_KeepsThePlainFileAndLogsOn) {
    run_.Configure(RotatingConfig());
    {
        const test::ScopedZlib zlib(
            {.open = {}, .write = [](gzFile, voidpc, unsigned) { return 0; }, .close = {}});
        LogBytes(1002);
    }
    LogMessage(L"on");
    EXPECT_EQ(run_.Records(1),
              HeaderAnd({L"[E][quillon] CompressFile: gzwrite failed for " + File(0),
                         L"[T][quillon] on"}));
    EXPECT_THAT(run_.Records(0), ElementsAre(RecordOfBytes(1002)));
}

TEST_F(LoggerClosedFile, FolderAboveTheLowByte_LosesTheOldLogs) {
    const std::wstring directory = run_.Folder().WithBackslash() + L"\x65E5\x672C\\";
    LoggerConfig config = RotatingConfig();
    config.LogToFile = true;
    LogRun::ConfigureIn(directory, config);
    LogBytes(1002);
    Texts names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        names.push_back(entry.path().filename().wstring());
    }
    EXPECT_THAT(names, ElementsAre(LogRun::Name(1)));
}

TEST_F(LoggerClosedFile, PlainFileThatCannotBeDeleted_StaysBesideItsGzipWithoutAWord) {
    run_.Configure(RotatingConfig());
    {
        const test::ScopedHook<test::DeleteFileWHook> hook([](auto...) {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
        test::DebuggerChannel channel;
        LogBytes(1002);
        EXPECT_THAT(channel.Take(), IsEmpty());
    }
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0), LogRun::Name(0) + L".gz", LogRun::Name(1)));
    EXPECT_EQ(run_.Records(1), test::HeaderRecords());
    EXPECT_EQ(test::Gunzip(test::ReadBytes(File(0) + L".gz")), test::ReadBytes(File(0)));
}

}  // namespace
