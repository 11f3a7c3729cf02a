#include "framework/logger/log_compression.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "framework/system/unique_handle.h"
#include "tests/support/gzip_reader.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/zlib_hooks.h"

namespace {

using framework::CompressFile;
using test::Gunzip;
using test::ReadBytes;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t ReadSize = 16384;

class LogCompression : public testing::Test {
  protected:
    std::uint32_t Compress() const { return CompressFile(Source().wstring(), Target().wstring()); }

    /// Writes the source and compresses it.
    std::uint32_t Compress(const std::string& content) const {
        test::WriteFileBytes(Source(), content);
        return Compress();
    }

    [[nodiscard]] std::filesystem::path Source() const { return folder_.Path() / "a.log"; }
    [[nodiscard]] std::filesystem::path Target() const { return folder_.Path() / "a.log.gz"; }
    [[nodiscard]] std::wstring ErrorLine(const std::wstring& text) const {
        return L"[E][quillon] CompressFile: " + text;
    }

    /// The handle of the source, as the product opened it.
    [[nodiscard]] bool IsSource(const wchar_t* path) const { return Source().wstring() == path; }

    test::LogCapture log_;
    test::ScratchFolder folder_;
};

/// Content without repeated blocks.
std::string Content(std::size_t size) {
    std::string content(size, '\0');
    std::uint32_t state = 1;
    for (char& byte : content) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return content;
}

TEST_F(LogCompression, EverySize_ComesBackByteForByte) {
    for (const std::size_t size :
         {0U, 1U, 2U, ReadSize - 1, ReadSize, ReadSize + 1, 2 * ReadSize, 300000U}) {
        const std::string content = Content(size);
        EXPECT_EQ(Compress(content), 0U);
        EXPECT_EQ(Gunzip(ReadBytes(Target())), content) << size;
        EXPECT_EQ(ReadBytes(Source()), content) << size;
    }
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(LogCompression, ByteOrderMark_ComesBackToo) {
    EXPECT_EQ(Compress(std::string("\xFF\xFE[\0", 4)), 0U);
    EXPECT_EQ(Gunzip(ReadBytes(Target())), std::string("\xFF\xFE[\0", 4));
}

TEST_F(LogCompression, GzipHeader_TellsTheDefaultLevel) {
    ASSERT_EQ(Compress(Content(1000)), 0U);
    const std::string header = ReadBytes(Target()).substr(0, 9);
    // Magic, deflate, no flags, no time; the last byte would be 2 for the best, 4 for the fastest.
    EXPECT_EQ(header, std::string("\x1F\x8B\x08\0\0\0\0\0\0", 9));
}

TEST_F(LogCompression, ExistingTarget_IsOverwrittenWithoutAWord) {
    test::WriteFileBytes(Target(), Content(5000));
    EXPECT_EQ(Compress("text"), 0U);
    EXPECT_EQ(Gunzip(ReadBytes(Target())), "text");
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(LogCompression, TargetAlreadyADirectory_GivesTheLogUp) {
    std::filesystem::create_directory(Target());
    EXPECT_EQ(Compress("text"), 0U);
    EXPECT_THAT(log_.Lines(), ElementsAre(ErrorLine(L"Failed to open ")));
    EXPECT_TRUE(std::filesystem::is_directory(Target()));
}

TEST_F(LogCompression, PathAboveTheLowByte_NamesAnotherFile) {
    // U+0161 is truncated to 'a', U+0141 to 'A'.
    const std::wstring target = folder_.WithBackslash() + L"\x0161\x0141.gz";
    test::WriteFileBytes(Source(), "text");
    EXPECT_EQ(CompressFile(Source().wstring(), target), 0U);
    EXPECT_FALSE(std::filesystem::exists(target));
    EXPECT_EQ(Gunzip(ReadBytes(folder_.Path() / "aA.gz")), "text");
}

TEST_F(LogCompression, FolderAboveTheLowByte_GivesTheLogUp) {
    const std::wstring folder = folder_.WithBackslash() + L"\x65E5\x672C";
    std::filesystem::create_directory(folder);
    test::WriteFileBytes(folder + L"\\a.log", "text");
    EXPECT_EQ(CompressFile(folder + L"\\a.log", folder + L"\\a.log.gz"), 0U);
    EXPECT_THAT(log_.Lines(), ElementsAre(ErrorLine(L"Failed to open ")));
    EXPECT_FALSE(std::filesystem::exists(folder + L"\\a.log.gz"));
}

TEST_F(LogCompression, SourceAboveTheLowByte_IsReadAllTheSame) {
    const std::wstring source = folder_.WithBackslash() + L"\x0416.log";
    test::WriteFileBytes(source, "text");
    EXPECT_EQ(CompressFile(source, Target().wstring()), 0U);
    EXPECT_EQ(Gunzip(ReadBytes(Target())), "text");
}

TEST_F(LogCompression, MissingSource_GivesTheErrorAndMakesNoTarget) {
    EXPECT_EQ(Compress(), static_cast<std::uint32_t>(ERROR_FILE_NOT_FOUND));
    EXPECT_THAT(log_.Lines(),
                ElementsAre(ErrorLine(L"CreateFileW failed for " + Source().wstring())));
    EXPECT_FALSE(std::filesystem::exists(Target()));
}

TEST_F(LogCompression, SourceHeldOpenForWriting_GivesASharingViolation) {
    test::WriteFileBytes(Source(), "text");
    const framework::FileHandle writer(::CreateFileW(Source().c_str(), GENERIC_WRITE,
                                                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                     OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(writer);
    EXPECT_EQ(Compress(), static_cast<std::uint32_t>(ERROR_SHARING_VIOLATION));
    EXPECT_THAT(log_.Lines(),
                ElementsAre(ErrorLine(L"CreateFileW failed for " + Source().wstring())));
    EXPECT_FALSE(std::filesystem::exists(Target()));
}

TEST_F(LogCompression, Source_IsOpenedForReadingAndSharedForReading) {
    test::WriteFileBytes(Source(), "text");
    int opened = 0;
    const test::ScopedHook<test::CreateFileWHook> hook(
        [&](const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* attributes,
            DWORD disposition, DWORD flags, HANDLE model) {
            if (IsSource(path)) {
                ++opened;
                EXPECT_EQ(access, 0x80000000U);
                EXPECT_EQ(share, 1U);
                EXPECT_EQ(attributes, nullptr);
                EXPECT_EQ(disposition, 3U);
                EXPECT_EQ(flags, 128U);
                EXPECT_EQ(model, nullptr);
            }
            return test::CreateFileWHook::Real(path, access, share, attributes, disposition, flags,
                                               model);
        });
    EXPECT_EQ(Compress(), 0U);
    EXPECT_EQ(opened, 1);
}

TEST_F(LogCompression, FailedOpening_StillClosesTheInvalidHandle) {
    std::vector<HANDLE> closed;
    {
        const test::ScopedHook<test::CloseHandleHook> hook([&](HANDLE handle) {
            closed.push_back(handle);
            return TRUE;
        });
        static_cast<void>(Compress());
    }
    EXPECT_THAT(closed, ElementsAre(INVALID_HANDLE_VALUE));
}

TEST_F(LogCompression, FailedOpeningAndFailedClosing_AreBothTold) {
    {
        const test::ScopedHook<test::CloseHandleHook> hook([](HANDLE) {
            ::SetLastError(ERROR_INVALID_HANDLE);
            return FALSE;
        });
        EXPECT_EQ(Compress(), static_cast<std::uint32_t>(ERROR_FILE_NOT_FOUND));
    }
    EXPECT_THAT(
        log_.Lines(),
        ElementsAre(ErrorLine(L"CreateFileW failed for " + Source().wstring()),
                    ErrorLine(L"CloseHandle failed with error 6 for " + Source().wstring())));
}

TEST_F(LogCompression, FailedClosing_ChangesNoResult) {
    {
        const test::ScopedHook<test::CloseHandleHook> hook([](HANDLE handle) {
            test::CloseHandleHook::Real(handle);
            ::SetLastError(ERROR_INVALID_HANDLE);
            return FALSE;
        });
        EXPECT_EQ(Compress("text"), 0U);
    }
    EXPECT_THAT(log_.Lines(), ElementsAre(ErrorLine(L"CloseHandle failed with error 6 for " +
                                                    Source().wstring())));
    EXPECT_EQ(Gunzip(ReadBytes(Target())), "text");
}

/// Counts calls of `ReadFile` with the product's size; those of the run-time library pass through.
class ProductReads {
  public:
    /// Makes call number `failing` (from 1) fail with `error`.
    explicit ProductReads(std::size_t failing = 0, DWORD error = ERROR_SUCCESS)
        : hook_([this, failing, error](HANDLE file, void* buffer, DWORD size, DWORD* read,
                                       OVERLAPPED* overlapped) {
              EXPECT_EQ(size, ReadSize);
              EXPECT_EQ(overlapped, nullptr);
              const auto* bytes = static_cast<const char*>(buffer);
              if (results.empty()) {
                  zeroFilled = std::all_of(bytes, bytes + size, [](char b) { return b == 0; });
              }
              if (results.size() + 1 == failing) {
                  results.push_back(-1);
                  ::SetLastError(error);
                  return FALSE;
              }
              const BOOL ok = test::ReadFileHook::Real(file, buffer, size, read, overlapped);
              results.push_back(static_cast<int>(*read));
              return ok;
          }) {}

    std::vector<int> results;
    bool zeroFilled = false;

  private:
    test::ScopedHook<test::ReadFileHook> hook_;
};

TEST_F(LogCompression, SourceOfOneWholeBlock_TakesTwoReads) {
    test::WriteFileBytes(Source(), Content(ReadSize));
    ProductReads reads;
    EXPECT_EQ(Compress(), 0U);
    EXPECT_THAT(reads.results, ElementsAre(16384, 0));
    EXPECT_TRUE(reads.zeroFilled);
}

TEST_F(LogCompression, EmptySource_TakesOneRead) {
    test::WriteFileBytes(Source(), "");
    ProductReads reads;
    EXPECT_EQ(Compress(), 0U);
    EXPECT_THAT(reads.results, ElementsAre(0));
}

TEST_F(LogCompression, FailedRead_KeepsThePartThatWasRead) {
    const std::string content = Content(3 * ReadSize);
    test::WriteFileBytes(Source(), content);
    {
        const ProductReads reads(3, ERROR_CRC);
        EXPECT_EQ(Compress(), static_cast<std::uint32_t>(ERROR_CRC));
    }
    EXPECT_THAT(log_.Lines(),
                ElementsAre(ErrorLine(L"ReadFile failed with error 23 for " + Source().wstring())));
    EXPECT_EQ(Gunzip(ReadBytes(Target())), content.substr(0, 2 * ReadSize));
    EXPECT_EQ(ReadBytes(Source()), content);
}

/// The tests that replace zlib's own calls.
class LogCompressionZlib : public LogCompression {};

TEST_F(LogCompressionZlib, Target_IsOpenedByItsLowBytesInModeWb) {
    std::string opened;
    std::string usedMode;
    const test::ScopedZlib zlib({.open =
                                     [&](const char* path, const char* mode) {
                                         opened = path;
                                         usedMode = mode;
                                         return gzFile{};
                                     },
                                 .write = {},
                                 .close = {}});
    test::WriteFileBytes(Source(), "");
    EXPECT_EQ(CompressFile(Source().wstring(), L"X:\\\x00FC\x0100z\x20AC"), 0U);
    // U+0100 has a low byte of zero, which ends the path for zlib.
    EXPECT_EQ(opened, "X:\\\xFC");
    EXPECT_EQ(usedMode, "wb");
}

TEST_F(LogCompressionZlib, FailedOpeningOfTheTarget_ReadsNothingAndGivesZero) {
    test::WriteFileBytes(Source(), "text");
    ProductReads reads;
    bool closed = false;
    {
        const test::ScopedZlib zlib({.open = [](const char*, const char*) { return gzFile{}; },
                                     .write = {},
                                     .close =
                                         [&](gzFile) {
                                             closed = true;
                                             return 0;
                                         }});
        EXPECT_EQ(Compress(), 0U);
    }
    EXPECT_THAT(reads.results, IsEmpty());
    EXPECT_FALSE(closed);
    EXPECT_THAT(log_.Lines(), ElementsAre(L"[E][quillon] CompressFile: Failed to open "));
}

TEST_F(LogCompressionZlib, FailedWriteInTheMiddle_GivesInternalErrorAndKeepsThePart) {
    const std::string content = Content(3 * ReadSize);
    test::WriteFileBytes(Source(), content);
    int writes = 0;
    {
        const test::ScopedZlib zlib({.open = {},
                                     .write =
                                         [&](gzFile file, voidpc data, unsigned size) {
                                             return ++writes == 2 ? 0 : ::gzwrite(file, data, size);
                                         },
                                     .close = {}});
        EXPECT_EQ(Compress(), 1359U);
    }
    EXPECT_EQ(writes, 2);
    EXPECT_THAT(log_.Lines(), ElementsAre(ErrorLine(L"gzwrite failed for " + Source().wstring())));
    EXPECT_EQ(Gunzip(ReadBytes(Target())), content.substr(0, ReadSize));
    EXPECT_EQ(ReadBytes(Source()), content);
}

TEST_F(LogCompressionZlib, FailedClosingOfTheTarget_IsNotLookedAt) {
    const test::ScopedZlib zlib({.open = {}, .write = {}, .close = [](gzFile file) {
                                     ::gzclose(file);
                                     return Z_ERRNO;
                                 }});
    EXPECT_EQ(Compress("text"), 0U);
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(LogCompressionZlib, Source_IsClosedBeforeTheStream) {
    std::vector<std::string> order;
    test::WriteFileBytes(Source(), "text");
    const test::ScopedZlib zlib({.open = {}, .write = {}, .close = [&](gzFile file) {
                                     order.emplace_back("gzclose");
                                     return ::gzclose(file);
                                 }});
    const test::ScopedHook<test::CloseHandleHook> hook([&](HANDLE handle) {
        order.emplace_back("CloseHandle");
        return test::CloseHandleHook::Real(handle);
    });
    EXPECT_EQ(Compress(), 0U);
    EXPECT_THAT(order, ElementsAre("CloseHandle", "gzclose"));
}

}  // namespace
