#include "framework/logger/log_file.h"

#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/debugger_channel.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"

namespace framework {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DWORD DiskFull = 112;

class LogFileTest : public ::testing::Test {
  protected:
    [[nodiscard]] std::wstring Path() const { return folder_.WithBackslash() + L"new.log"; }
    [[nodiscard]] std::string Bytes() const { return test::ReadBytes(Path()); }

    test::DebuggerChannel debugger_;

  private:
    test::ScratchFolder folder_;
};

/// A text as bytes of the file.
std::string AsBytes(const std::wstring& text) {
    std::string bytes(text.size() * sizeof(wchar_t), '\0');
    std::memcpy(bytes.data(), text.data(), bytes.size());
    return bytes;
}

const std::string Mark = "\xFF\xFE";

// CreateLogFile

TEST_F(LogFileTest, NewFile_HoldsTheByteOrderMarkAlone) {
    const LogFile file = CreateLogFile(Path());
    ASSERT_TRUE(file);
    EXPECT_EQ(Bytes(), Mark);
    EXPECT_THAT(debugger_.Take(), IsEmpty());
}

TEST_F(LogFileTest, NewFile_IsAskedForAsNewReadableByOthers) {
    int calls = 0;
    const test::ScopedHook<test::CreateFileWHook> hook(
        [&](const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
            DWORD disposition, DWORD flags, HANDLE model) {
            ++calls;
            EXPECT_EQ(path, Path());
            EXPECT_EQ(access, GENERIC_READ | GENERIC_WRITE);
            EXPECT_EQ(share, static_cast<DWORD>(FILE_SHARE_READ));
            EXPECT_EQ(security, nullptr);
            EXPECT_EQ(disposition, static_cast<DWORD>(CREATE_NEW));
            EXPECT_EQ(flags, static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL));
            EXPECT_EQ(model, nullptr);
            return test::CreateFileWHook::Real(path, access, share, security, disposition, flags,
                                               model);
        });
    EXPECT_TRUE(CreateLogFile(Path()));
    EXPECT_EQ(calls, 1);
}

TEST_F(LogFileTest, OpenFile_CanBeReadByOthersButNotWrittenOrDeleted) {
    const LogFile file = CreateLogFile(Path());
    ASSERT_TRUE(file);
    const auto open = [&](DWORD access) {
        return FileHandle(::CreateFileW(Path().c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                        nullptr, OPEN_EXISTING, 0, nullptr));
    };
    EXPECT_TRUE(open(GENERIC_READ));
    EXPECT_FALSE(open(GENERIC_WRITE));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(::DeleteFileW(Path().c_str()), FALSE);
}

TEST_F(LogFileTest, ExistingFile_IsNeitherOpenedNorChanged) {
    test::WriteFileBytes(Path(), "older");
    EXPECT_FALSE(CreateLogFile(Path()));
    EXPECT_EQ(Bytes(), "older");
    EXPECT_THAT(debugger_.Take(), ElementsAre(L"Creation new file: " + Path() + L" , error: 80"));
}

TEST_F(LogFileTest, FileOfAnotherOwnerThatIsStillOpen_IsNotShared) {
    const LogFile first = CreateLogFile(Path());
    ASSERT_TRUE(first);
    EXPECT_FALSE(CreateLogFile(Path()));
    EXPECT_THAT(debugger_.Take(), ElementsAre(L"Creation new file: " + Path() + L" , error: 80"));
}

TEST_F(LogFileTest, MissingDirectory_IsToldWithItsError) {
    const std::wstring path = Path() + L"\\missing\\new.log";
    EXPECT_FALSE(CreateLogFile(path));
    EXPECT_THAT(debugger_.Take(), ElementsAre(L"Creation new file: " + path + L" , error: 3"));
}

TEST_F(LogFileTest, ErrorOfTheCreation_IsPrintedUnsigned) {
    const test::ScopedHook<test::CreateFileWHook> hook([](auto...) {
        ::SetLastError(4294967295U);
        return INVALID_HANDLE_VALUE;
    });
    EXPECT_FALSE(CreateLogFile(L"%s %d.log"));
    EXPECT_THAT(debugger_.Take(), ElementsAre(L"Creation new file: %s %d.log , error: 4294967295"));
}

/// The events from the first write on: each text of the debugger channel, each closed handle.
class UnwritableMark : public LogFileTest {
  protected:
    [[nodiscard]] std::vector<std::wstring> EventsOf(test::WriteFileHook::Function write) const {
        std::vector<std::wstring> events;
        HANDLE opened = nullptr;
        const test::ScopedHook<test::OutputDebugStringWHook> texts(
            [&](const wchar_t* text) { events.emplace_back(text); });
        const test::ScopedHook<test::CreateFileWHook> create([&](auto... args) {
            opened = test::CreateFileWHook::Real(args...);
            return opened;
        });
        const test::ScopedHook<test::CloseHandleHook> close([&](HANDLE handle) {
            if (handle == opened) {
                events.emplace_back(L"closed");
            }
            return test::CloseHandleHook::Real(handle);
        });
        const test::ScopedHook<test::WriteFileHook> hook(std::move(write));
        EXPECT_FALSE(CreateLogFile(Path()));
        return events;
    }
};

TEST_F(UnwritableMark, FailedWrite_ClosesTheFileThenTellsAndLeavesItEmptyOnDisk) {
    const auto events = EventsOf([](auto...) {
        ::SetLastError(DiskFull);
        return FALSE;
    });
    EXPECT_THAT(events, ElementsAre(L"Write operation failed, error: 112", L"closed",
                                    L"Can't append byte order mark"));
    EXPECT_EQ(Bytes(), "");
    EXPECT_NE(::DeleteFileW(Path().c_str()), FALSE) << "the file is still open";
}

TEST_F(UnwritableMark, ShortWrite_CountsAsFailure) {
    const auto events = EventsOf([](HANDLE file, const void* data, DWORD, DWORD* written, auto...) {
        return test::WriteFileHook::Real(file, data, 1, written, nullptr);
    });
    EXPECT_THAT(events, ElementsAre(L"Write operation failed, error: 1(written bytes) != "
                                    L"2(bytes to write)",
                                    L"closed", L"Can't append byte order mark"));
    EXPECT_EQ(Bytes(), "\xFF");
}

// WriteBytes

TEST_F(LogFileTest, Write_IsOneCallAtTheEndOfFilePosition) {
    const LogFile file = CreateLogFile(Path());
    const char data[] = "abcdef";
    int calls = 0;
    const test::ScopedHook<test::WriteFileHook> hook(
        [&](HANDLE handle, const void* bytes, DWORD count, DWORD* written, OVERLAPPED* position) {
            ++calls;
            EXPECT_EQ(handle, file.Get());
            EXPECT_EQ(bytes, data);
            EXPECT_EQ(count, 6U);
            EXPECT_EQ(position->Offset, 0xFFFFFFFFU);
            EXPECT_EQ(position->OffsetHigh, 0xFFFFFFFFU);
            EXPECT_EQ(position->hEvent, nullptr);
            EXPECT_EQ(position->Internal, 0U);
            EXPECT_EQ(position->InternalHigh, 0U);
            return test::WriteFileHook::Real(handle, bytes, count, written, position);
        });
    EXPECT_TRUE(WriteBytes(file.Get(), data, 6));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(Bytes(), Mark + "abcdef");
}

TEST_F(LogFileTest, Write_GoesToTheEndWhereverThePositionOfTheHandleIs) {
    const LogFile file = CreateLogFile(Path());
    ASSERT_TRUE(WriteBytes(file.Get(), "first", 5));
    ::SetFilePointer(file.Get(), 0, nullptr, FILE_BEGIN);
    EXPECT_TRUE(WriteBytes(file.Get(), "second", 6));
    EXPECT_EQ(Bytes(), Mark + "firstsecond");
}

TEST_F(LogFileTest, WriteToNoFile_IsTriedAndToldWithErrorSix) {
    int calls = 0;
    const test::ScopedHook<test::WriteFileHook> hook([&](HANDLE handle, auto... args) {
        ++calls;
        EXPECT_EQ(handle, nullptr);
        return test::WriteFileHook::Real(handle, args...);
    });
    EXPECT_FALSE(WriteBytes(nullptr, "text", 4));
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(debugger_.Take(), ElementsAre(L"Write operation failed, error: 6"));
}

TEST_F(LogFileTest, FailedWrite_IsToldWithItsErrorUnsignedAndNotRepeated) {
    int calls = 0;
    const test::ScopedHook<test::WriteFileHook> hook([&](auto...) {
        ++calls;
        ::SetLastError(4294967295U);
        return FALSE;
    });
    EXPECT_FALSE(WriteBytes(nullptr, "text", 4));
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(debugger_.Take(), ElementsAre(L"Write operation failed, error: 4294967295"));
}

TEST_F(LogFileTest, ShortWrite_IsToldWithBothNumbersAndNotContinued) {
    const LogFile file = CreateLogFile(Path());
    int calls = 0;
    {
        const test::ScopedHook<test::WriteFileHook> hook(
            [&](HANDLE handle, const void* data, DWORD count, DWORD* written, OVERLAPPED* at) {
                ++calls;
                return test::WriteFileHook::Real(handle, data, count - 3, written, at);
            });
        EXPECT_FALSE(WriteBytes(file.Get(), "abcdefgh", 8));
    }
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(
        debugger_.Take(),
        ElementsAre(L"Write operation failed, error: 5(written bytes) != 8(bytes to write)"));
    EXPECT_TRUE(WriteBytes(file.Get(), "next", 4));
    EXPECT_EQ(Bytes(), Mark + "abcdenext");
    EXPECT_THAT(debugger_.Take(), IsEmpty());
}

TEST_F(LogFileTest, NothingWrittenBySuccessfulCall_IsAShortWrite) {
    const test::ScopedHook<test::WriteFileHook> hook([](auto...) { return TRUE; });
    EXPECT_FALSE(WriteBytes(nullptr, "ab", 2));
    EXPECT_THAT(
        debugger_.Take(),
        ElementsAre(L"Write operation failed, error: 0(written bytes) != 2(bytes to write)"));
}

TEST_F(LogFileTest, NoBytes_AreWrittenWithSuccess) {
    const LogFile file = CreateLogFile(Path());
    EXPECT_TRUE(WriteBytes(file.Get(), "", 0));
    EXPECT_EQ(Bytes(), Mark);
}

// WriteText

TEST_F(LogFileTest, Text_IsWrittenAsItStandsInMemoryWithoutItsTerminator) {
    const LogFile file = CreateLogFile(Path());
    const std::wstring text = std::wstring(L"A\r\n\tж漢") + L'\0' + L"\xD83D\xDE00\xD800\xFFFF";
    ASSERT_TRUE(WriteText(file.Get(), text));
    EXPECT_EQ(Bytes(), Mark + AsBytes(text));
    EXPECT_EQ(Bytes().substr(2, 4), std::string("A\0\r\0", 4));
}

TEST_F(LogFileTest, EmptyText_WritesNothingWithSuccess) {
    const LogFile file = CreateLogFile(Path());
    EXPECT_TRUE(WriteText(file.Get(), L""));
    EXPECT_EQ(Bytes(), Mark);
}

TEST_F(LogFileTest, FailedText_GivesFalse) {
    EXPECT_FALSE(WriteText(nullptr, L"text"));
    EXPECT_THAT(debugger_.Take(), ElementsAre(L"Write operation failed, error: 6"));
}

}  // namespace
}  // namespace framework
