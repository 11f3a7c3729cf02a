// The first file of the logger, and directories where it can't be created.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/framework/logger/log_run.h"
#include "tests/support/debugger_channel.h"
#include "tests/support/platform_hooks.h"

namespace {

using framework::LoggerConfig;
using test::CreationText;
using test::LogBytes;
using test::LogMessage;
using test::LogRun;
using test::LostRecordText;
using test::PlainConfig;
using test::RotatingConfig;
using testing::ElementsAre;
using testing::IsEmpty;

class LoggerFirstFile : public test::LogRunTest {};

TEST_F(LoggerFirstFile, FirstFile_IsNumber0AndBeginsWithTheMarkAlone) {
    run_.Configure(RotatingConfig());
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0)));
    EXPECT_EQ(test::ReadBytes(File(0)), "\xFF\xFE");
}

TEST_F(LoggerFirstFile, FirstFileThatExists_IsLeftAloneAndRecordsAreLost) {
    test::WriteFileBytes(File(0), "before");
    test::DebuggerChannel channel;
    run_.Configure(RotatingConfig());
    EXPECT_THAT(channel.Take(), ElementsAre(CreationText(File(0), L"80")));
    LogMessage(L"one");
    LogMessage(L"two");
    EXPECT_THAT(channel.Take(), ElementsAre(LostRecordText, LostRecordText));
    EXPECT_EQ(test::ReadBytes(File(0)), "before");
    EXPECT_THAT(Names(), ElementsAre(LogRun::Name(0)));
}

TEST_F(LoggerFirstFile, FirstFileRefused_IsNotTriedAgain) {
    int creations = 0;
    const test::ScopedHook<test::CreateFileWHook> hook(
        [&](const wchar_t* path, DWORD access, DWORD share, auto... rest) -> HANDLE {
            if (path == File(0) && access == (GENERIC_READ | GENERIC_WRITE) &&
                share == FILE_SHARE_READ) {
                ++creations;
                ::SetLastError(ERROR_ACCESS_DENIED);
                return INVALID_HANDLE_VALUE;
            }
            return test::CreateFileWHook::Real(path, access, share, rest...);
        });
    test::DebuggerChannel channel;
    run_.Configure(RotatingConfig());
    LogMessage(L"one");
    EXPECT_THAT(channel.Take(), ElementsAre(CreationText(File(0), L"5"), LostRecordText));
    EXPECT_EQ(creations, 1);
}

TEST_F(LoggerFirstFile, MissingDirectories_AreMade) {
    const std::wstring directory = run_.Folder().WithBackslash() + L"a\\b\\";
    LoggerConfig config = RotatingConfig();
    config.LogToFile = true;
    LogRun::ConfigureIn(directory, config);
    EXPECT_TRUE(std::filesystem::exists(directory + LogRun::Name(0)));
}

TEST_F(LoggerFirstFile, DirectoryThatCannotBeMade_SaysNothingUntilARecordIsLost) {
    const test::ScopedHook<test::CreateDirectoryWHook> hook([](auto...) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    test::DebuggerChannel channel;
    run_.Configure(RotatingConfig());
    EXPECT_THAT(channel.Take(), IsEmpty());
    LogMessage(L"one");
    EXPECT_THAT(channel.Take(), ElementsAre(LostRecordText));
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(LoggerFirstFile, FileInPlaceOfTheDirectory_IsToldAndLeftAlone) {
    const std::wstring inTheWay = run_.Folder().WithBackslash() + L"Logs";
    test::WriteFileBytes(inTheWay, "in the way");
    LoggerConfig config = RotatingConfig();
    config.LogToFile = true;
    test::DebuggerChannel channel;
    LogRun::ConfigureIn(inTheWay + L"\\", config);
    EXPECT_THAT(channel.Take(),
                ElementsAre(CreationText(inTheWay + L"\\" + LogRun::Name(0), L"3")));
    LogMessage(L"one");
    EXPECT_THAT(channel.Take(), ElementsAre(LostRecordText));
    EXPECT_EQ(test::ReadBytes(inTheWay), "in the way");
}

TEST_F(LoggerFirstFile, DirectoryWithoutDrive_OpensNoFile) {
    LoggerConfig config = RotatingConfig();
    config.LogToFile = true;
    for (const wchar_t* directory : {L"relative\\", L"\\\\server\\share\\", L""}) {
        int calls = 0;
        const test::ScopedHook<test::CreateFileWHook> files([&](auto...) {
            ++calls;
            ::SetLastError(ERROR_ACCESS_DENIED);
            return INVALID_HANDLE_VALUE;
        });
        const test::ScopedHook<test::CreateDirectoryWHook> directories([&](auto...) {
            ++calls;
            ::SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
        test::DebuggerChannel channel;
        LogRun::ConfigureIn(directory, config);
        EXPECT_THAT(channel.Take(), IsEmpty()) << directory;
        LogMessage(L"one");
        EXPECT_THAT(channel.Take(), ElementsAre(LostRecordText)) << directory;
        EXPECT_EQ(calls, 0) << directory;
        LogRun::End();
    }
}

TEST_F(LoggerFirstFile, FileSinkOff_MakesNoDirectory) {
    const std::wstring directory = run_.Folder().WithBackslash() + L"a\\";
    LogRun::ConfigureIn(directory, RotatingConfig());
    LogMessage(L"one");
    EXPECT_FALSE(std::filesystem::exists(directory));
}

/// A directory below the run's folder for which the name template has `length` characters.
std::wstring DirectoryForTemplate(const LogRun& run, std::size_t length) {
    const std::wstring base = run.Folder().WithBackslash();
    const std::size_t fixed = std::wstring(L"\\quillon-20201116-163012-345.LOGID.log").size();
    return base + std::wstring(length - base.size() - fixed, L'd') + L'\\';
}

TEST_F(LoggerFirstFile, NameTemplateOf260Characters_GivesAFile) {
    const std::wstring directory = DirectoryForTemplate(run_, 260);
    LoggerConfig config = RotatingConfig();
    config.LogToFile = true;
    LogRun::ConfigureIn(directory, config);
    LogMessage(L"one");
    EXPECT_TRUE(std::filesystem::exists(directory + LogRun::Name(0)));
}

TEST_F(LoggerFirstFile, NameTemplateOf261Characters_MakesTheDirectoryAndNoFileSilently) {
    const std::wstring directory = DirectoryForTemplate(run_, 261);
    LoggerConfig config = RotatingConfig();
    config.LogToFile = true;
    test::DebuggerChannel channel;
    LogRun::ConfigureIn(directory, config);
    EXPECT_THAT(channel.Take(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(directory));
    LogMessage(L"one");
    EXPECT_THAT(channel.Take(), ElementsAre(LostRecordText));
}

TEST_F(LoggerFirstFile, NumberWordInDirectoryAndPrefix_IsReplacedThough) {
    const std::wstring base = run_.Folder().WithBackslash();
    std::filesystem::create_directory(base + L"a0b");
    std::filesystem::create_directory(base + L"a1b");
    LoggerConfig config = PlainConfig();
    config.LogToFile = true;
    config.FilePrefix = L"pLOGID";
    LogRun::ConfigureIn(base + L"aLOGIDb\\", config);
    LogBytes(1002);
    EXPECT_TRUE(std::filesystem::is_empty(base + L"aLOGIDb"));
    EXPECT_TRUE(std::filesystem::exists(base + L"a0b\\p0-" + test::RunTime + L".0.log"));
    EXPECT_TRUE(std::filesystem::exists(base + L"a1b\\p1-" + test::RunTime + L".1.log"));
}

TEST_F(LoggerFirstFile, NumberWordInDirectoryAlone_NamesADirectoryThatNobodyMade) {
    const std::wstring base = run_.Folder().WithBackslash();
    LoggerConfig config = PlainConfig();
    config.LogToFile = true;
    test::DebuggerChannel channel;
    LogRun::ConfigureIn(base + L"aLOGIDb\\", config);
    EXPECT_THAT(channel.Take(), ElementsAre(CreationText(base + L"a0b\\" + LogRun::Name(0), L"3")));
    EXPECT_THAT(Names(), ElementsAre(L"aLOGIDb"));
}

}  // namespace
