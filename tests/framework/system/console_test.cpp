#include "framework/system/console.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "framework/system/unique_handle.h"
#include "tests/support/child_process.h"
#include "tests/support/platform_hooks.h"

namespace framework {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Replaces standard output of this process during its lifetime.
class StandardOutput {
  public:
    explicit StandardOutput(HANDLE output) : before_(::GetStdHandle(STD_OUTPUT_HANDLE)) {
        ::SetStdHandle(STD_OUTPUT_HANDLE, output);
    }
    ~StandardOutput() { ::SetStdHandle(STD_OUTPUT_HANDLE, before_); }
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

  private:
    HANDLE before_;
};

/// A pipe as standard output.
class OutputPipe {
  public:
    OutputPipe() {
        EXPECT_NE(::CreatePipe(read_.Receive(), write_.Receive(), nullptr, 1 << 20), FALSE);
        ::SetStdHandle(STD_OUTPUT_HANDLE, write_.Get());
    }

    /// The output so far, without waiting.
    std::string Take() {
        DWORD available = 0;
        EXPECT_NE(::PeekNamedPipe(read_.Get(), nullptr, 0, nullptr, &available, nullptr), FALSE);
        std::string bytes(available, '\0');
        DWORD got = 0;
        if (available != 0) {
            EXPECT_NE(test::ReadFileHook::Real(read_.Get(), bytes.data(), available, &got, nullptr),
                      FALSE);
        }
        bytes.resize(got);
        return bytes;
    }

  private:
    KernelHandle read_;
    KernelHandle write_;
    StandardOutput restored_{nullptr};
};

struct TextCase {
    const char* name;
    std::wstring text;
    std::string bytes;
};

void PrintTo(const TextCase& row, std::ostream* stream) {
    *stream << row.name;
}

class TextToPipe : public ::testing::TestWithParam<TextCase> {};

TEST_P(TextToPipe, ArrivesAtOnceAsUtf8WithCarriageReturns) {
    OutputPipe pipe;
    WriteToConsole(GetParam().text);
    EXPECT_EQ(pipe.Take(), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TextToPipe,
    ::testing::Values(
        TextCase{"Ascii", L"text\n", "text\r\n"},
        TextCase{"NoLineFeed_NothingIsHeldBack", L"half a line", "half a line"},
        TextCase{"TwoLineFeeds", L"\n\n", "\r\n\r\n"},
        TextCase{"OwnCarriageReturn_GetsAnotherAsInTextMode", L"a\r\n", "a\r\r\n"},
        TextCase{"CarriageReturnAlone", L"a\rb", "a\rb"},
        TextCase{"Latin", L"\u00E4\u00FF\n", "\xC3\xA4\xC3\xBF\r\n"},
        TextCase{"JustAboveLatin", L"\u0100|\n", "\xC4\x80|\r\n"},
        TextCase{"Cyrillic", L"\u0418\u043C\u044F end\n", "\xD0\x98\xD0\xBC\xD1\x8F end\r\n"},
        TextCase{"Chinese", L"\u65E5\u5FD7 end\n", "\xE6\x97\xA5\xE5\xBF\x97 end\r\n"},
        TextCase{"SurrogatePair", L"\U0001F4C4 end\n", "\xF0\x9F\x93\x84 end\r\n"},
        TextCase{"HalfASurrogatePair_IsReplaced_TheRestStays",
                 L"a\xD83D"
                 L"b\n",
                 "a\xEF\xBF\xBD"
                 "b\r\n"},
        TextCase{"ZeroInside", std::wstring(L"a\0b\n", 4), std::string("a\0b\r\n", 5)},
        TextCase{"PercentSigns", L"100% %s %n\n", "100% %s %n\r\n"},
        TextCase{"Long", std::wstring(40000, L'\u0416') + L'\n',
                 [] {
                     std::string bytes;
                     for (int index = 0; index < 40000; ++index) {
                         bytes += "\xD0\x96";
                     }
                     return bytes + "\r\n";
                 }()}),
    [](const auto& row) { return row.param.name; });

TEST(WriteToConsole, EachText_IsOneWrite) {
    OutputPipe pipe;
    int writes = 0;
    const test::ScopedHook<test::WriteFileHook> write([&](auto... args) -> BOOL {
        ++writes;
        return test::WriteFileHook::Real(args...);
    });
    WriteToConsole(L"one\ntwo\n");
    EXPECT_EQ(writes, 1);
    WriteToConsole(L"three\n");
    EXPECT_EQ(writes, 2);
    EXPECT_EQ(pipe.Take(), "one\r\ntwo\r\nthree\r\n");
}

TEST(WriteToConsole, RealConsole_GetsUtf16WithCarriageReturns) {
    OutputPipe pipe;
    std::vector<std::wstring> texts;
    const test::ScopedHook<test::GetConsoleModeHook> mode(
        [](HANDLE, DWORD*) -> BOOL { return TRUE; });
    const test::ScopedHook<test::WriteConsoleWHook> write(
        [&](HANDLE output, const void* text, DWORD length, DWORD* written, void*) -> BOOL {
            EXPECT_EQ(output, ::GetStdHandle(STD_OUTPUT_HANDLE));
            texts.emplace_back(static_cast<const wchar_t*>(text), length);
            *written = length;
            return TRUE;
        });
    WriteToConsole(L"\u65E5\u5FD7 %s\n");
    EXPECT_THAT(texts, ElementsAre(L"\u65E5\u5FD7 %s\r\n"));
    EXPECT_THAT(pipe.Take(), IsEmpty());
}

TEST(WriteToConsole, WithoutStandardOutput_DoesNothing) {
    for (const HANDLE output : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE}) {
        const StandardOutput none(output);
        WriteToConsole(L"nobody reads this\n");
    }
    OutputPipe pipe;
    WriteToConsole(L"but this\n");
    EXPECT_EQ(pipe.Take(), "but this\r\n");
}

TEST(WriteToConsole, FailedWrite_IsIgnoredAndTheNextGoesThrough) {
    OutputPipe pipe;
    {
        const test::ScopedHook<test::WriteFileHook> write([](auto...) -> BOOL {
            ::SetLastError(ERROR_NO_DATA);
            return FALSE;
        });
        WriteToConsole(L"lost\n");
    }
    WriteToConsole(L"kept\n");
    EXPECT_EQ(pipe.Take(), "kept\r\n");
}

TEST(WriteToConsole, FailedWriteToAConsole_IsIgnoredAndNotTriedAsBytes) {
    OutputPipe pipe;
    const test::ScopedHook<test::GetConsoleModeHook> mode(
        [](HANDLE, DWORD*) -> BOOL { return TRUE; });
    const test::ScopedHook<test::WriteConsoleWHook> write([](auto...) -> BOOL {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    });
    ::SetLastError(ERROR_DISK_FULL);
    WriteToConsole(L"lost\n");
    EXPECT_EQ(::GetLastError(), ERROR_DISK_FULL);
    EXPECT_THAT(pipe.Take(), IsEmpty());
}

TEST(ConsolePrint, Arguments_AreReadAsInEveryWideFormat) {
    OutputPipe pipe;
    ConsolePrint(L"%s|%ws|%ls|%lu|%i|%03hu|100%%\n", L"a\u0436", L"b", L"c", 4294967295U, -1,
                 std::uint16_t{7});
    EXPECT_EQ(pipe.Take(), "a\xD0\xB6|b|c|4294967295|-1|007|100%\r\n");
}

TEST(ConsolePrint, PercentSignsInAnArgument_StayAsTheyAre) {
    OutputPipe pipe;
    ConsolePrint(L"%s\n", L"100%% %s %n %");
    EXPECT_EQ(pipe.Take(), "100%% %s %n %\r\n");
}

TEST(WriteToConsole, EmptyText_WritesNothing) {
    int writes = 0;
    const test::ScopedHook<test::WriteFileHook> hook([&writes](auto...) {
        ++writes;
        return TRUE;
    });
    WriteToConsole(L"");
    EXPECT_EQ(writes, 0);
}

TEST(ConsolePrint, LongArgument_IsNotCut) {
    OutputPipe pipe;
    const std::wstring text(40000, L'x');
    ConsolePrint(L"%s\n", text.c_str());
    EXPECT_EQ(pipe.Take(), std::string(40000, 'x') + "\r\n");
}

/// Prints and is terminated: buffered output would be lost.
int PrintAndEnd(const std::vector<std::wstring>&) {
    ConsolePrint(L"%s\n", L"\u0436 before the end");
    ConsolePrint(L"half a line");
    ::TerminateProcess(::GetCurrentProcess(), 5);
    return 0;
}

const test::ChildRoutine printAndEnd(L"print-and-end", PrintAndEnd);

TEST(ConsolePrint, ToFileOfAProcessThatIsEndedByForce_LosesNothing) {
    test::Child child(test::SelfCommandLine(L"print-and-end"));
    EXPECT_EQ(child.Wait(), 5U);
    EXPECT_EQ(child.Output(), "\xD0\xB6 before the end\r\nhalf a line");
}

TEST(ToUtf8, EveryLengthOfSequence) {
    EXPECT_EQ(ToUtf8(L""), "");
    EXPECT_EQ(ToUtf8(L"~\x00E9\x4F60\xD83D\xDE00"), "~\xC3\xA9\xE4\xBD\xA0\xF0\x9F\x98\x80");
}

TEST(ToUtf8, LoneSurrogate_BecomesTheReplacementCharacter) {
    EXPECT_EQ(ToUtf8(L"a\xD83D"), "a\xEF\xBF\xBD");
}

}  // namespace
}  // namespace framework
