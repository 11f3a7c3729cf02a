#include "framework/logger/logger.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "framework/logger/internal_trace.h"
#include "framework/system/trace.h"
#include "tests/support/child_process.h"
#include "tests/support/debugger_channel.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"

namespace framework {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::TestWithParam;
using ::testing::ValuesIn;

constexpr auto WaitLimit = std::chrono::seconds(20);
const SYSTEMTIME SampleTime = test::Moment(2020, 11, 16, 16, 30, 12, 345);
const std::wstring SampleHead = L"[20201116-163012-345][T][quillon] ";
const std::wstring WriteToNoFile = L"Write operation failed, error: 6";

/// Logs `message` with the call's own argument list. Parameters not given have their usual values.
bool LogMessage(const wchar_t* message, std::uint32_t level = 4, const wchar_t* tag = L"T",
                const wchar_t* component = nullptr) {
    return Logger::Instance().Log(level, tag, component, L"C:\\src\\main", 42, L"wmain", L"%s",
                                  message);
}

LoggerConfig WithMask(std::uint32_t mask) {
    LoggerConfig config = test::QuietConfig();
    config.TraceLevelsMask = mask;
    return config;
}

/// An event that is set once and awaited with a limit.
class Gate {
  public:
    void Open() { promise_.set_value(); }
    [[nodiscard]] bool Wait(std::chrono::milliseconds limit = WaitLimit) const {
        return future_.wait_for(limit) == std::future_status::ready;
    }

  private:
    std::promise<void> promise_;
    std::shared_future<void> future_ = promise_.get_future().share();
};

/// A fresh logger, in a separate folder whose files no test reads completely.
class LoggerTest : public ::testing::Test {
  protected:
    /// A configuration that writes to a file in the folder.
    [[nodiscard]] LoggerConfig FileConfig() const {
        LoggerConfig config = test::QuietConfig();
        config.LogDirectory = folder_.WithBackslash();
        config.LogToFile = true;
        return config;
    }

    /// The same with a directory that can't be created, so that no file is open.
    [[nodiscard]] static LoggerConfig NoFileConfig() {
        LoggerConfig config = test::QuietConfig();
        config.LogDirectory = L"no-drive\\logs\\";
        config.LogToFile = true;
        return config;
    }

    [[nodiscard]] std::filesystem::path File(unsigned number) const {
        const auto names = folder_.Names(L"." + std::to_wstring(number) + L".log");
        EXPECT_THAT(names, SizeIs(1));
        return folder_.Path() / (names.empty() ? L"" : names.front());
    }

    [[nodiscard]] std::vector<std::wstring> Records(unsigned number = 0) const {
        return test::SplitRecords(test::ReadLogText(File(number)));
    }

    test::ScratchFolder folder_;
    test::FreshLogger logger_;
};

// The filter

struct FilterCase {
    std::uint32_t mask;
    std::uint32_t level;
    bool passes;
};

void PrintTo(const FilterCase& row, std::ostream* out) {
    *out << "mask " << row.mask << " level " << row.level;
}

class LoggerFilter : public TestWithParam<FilterCase> {};

TEST_P(LoggerFilter, Call_PassesIfItSharesABitWithTheMaskAndReturnsTrueEitherWay) {
    const test::LogCapture capture(WithMask(GetParam().mask));
    EXPECT_TRUE(LogMessage(L"text", GetParam().level, L"X"));
    EXPECT_EQ(Logger::Passes(GetParam().level), GetParam().passes);
    if (GetParam().passes) {
        EXPECT_THAT(capture.Lines(), ElementsAre(L"[X][quillon] text"));
    } else {
        EXPECT_THAT(capture.Lines(), IsEmpty());
    }
}

const FilterCase FilterCases[] = {
    {7, 1, true},
    {7, 2, true},
    {7, 4, true},
    {7, 8, false},
    {7, 0, false},
    {7, 16, false},
    {8, 8, true},
    {8, 7, false},
    {15, 8, true},
    {1, 2, false},
    {4, 2, false},
    {7, 12, true},  // several bits, one of them in the mask
    {8, 12, true},
    {16, 12, false},
    {0, 0xFFFFFFFF, false},
    {0xFFFFFFFF, 0, false},
    {0x80000010, 0x80000000, true},
    {0xFFFFFFF0, 15, false},
};

INSTANTIATE_TEST_SUITE_P(Masks, LoggerFilter, ValuesIn(FilterCases));

TEST_F(LoggerTest, DroppedCall_ReadsNoClock) {
    Logger::Instance().Configure(WithMask(7));
    int readings = 0;
    const test::ScopedHook<test::GetSystemTimeHook> clock([&](SYSTEMTIME* now) {
        ++readings;
        *now = SampleTime;
    });
    LogMessage(L"dropped", 8, L"V");
    EXPECT_EQ(readings, 0);
    LogMessage(L"passes");
    EXPECT_EQ(readings, 1);
}

TEST_F(LoggerTest, DroppedCall_TakesNoLock) {
    LoggerConfig config = WithMask(7);
    config.LogToDebugger = true;
    Logger::Instance().Configure(config);
    Gate holding;
    Gate goOn;
    const test::ScopedHook<test::OutputDebugStringWHook> sink([&](const wchar_t*) {
        holding.Open();
        EXPECT_TRUE(goOn.Wait());
    });
    std::thread holder([] { LogMessage(L"holds the lock"); });
    EXPECT_TRUE(holding.Wait());
    Gate returned;
    std::thread dropped([&] {
        LogMessage(L"dropped", 8, L"V");
        returned.Open();
    });
    EXPECT_TRUE(returned.Wait()) << "a call that doesn't pass waits for another thread's record";
    goOn.Open();
    holder.join();
    dropped.join();
}

TEST_F(LoggerTest, CallBeforeConfigure_IsLostWithoutTraceAndReturnsTrue) {
    test::DebuggerChannel debugger;
    EXPECT_TRUE(LogMessage(L"early", 0xFFFFFFFF));
    InternalTrace(1, L"early");
    EXPECT_THAT(debugger.Take(), IsEmpty());
    Logger::Instance().Configure(FileConfig());
    LogMessage(L"later");
    EXPECT_THAT(Records(), ElementsAre(L"[T][quillon] later"));
}

// Tag, component, location

TEST(LoggerRecord, TagOfTheCall_IsWrittenUnchangedWhateverTheLevel) {
    const test::LogCapture capture;
    LogMessage(L"text", 1, L"V");
    LogMessage(L"text", 8, L"E");
    LogMessage(L"text", 2, L"");
    LogMessage(L"text", 4, L"many letters");
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[V][quillon] text", L"[E][quillon] text",
                                             L"[][quillon] text", L"[many letters][quillon] text"));
}

TEST(LoggerRecord, ComponentOfTheCall_ReplacesTheConfiguredOneInThatRecordOnly) {
    const test::LogCapture capture;
    LogMessage(L"first");
    LogMessage(L"second", 4, L"T", L"Почта");
    LogMessage(L"third", 4, L"T", L"");
    LogMessage(L"fourth");
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[T][quillon] first", L"[T][Почта] second",
                                             L"[T][] third", L"[T][quillon] fourth"));
}

TEST(LoggerRecord, SourceLocation_StandsInEachRecordAsTheCallerPassedIt) {
    LoggerConfig config = test::QuietConfig();
    config.RecordSourceLocation = true;
    const test::LogCapture capture(config);
    LogMessage(L"text", 1, L"E");
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[E][quillon] [C:\\src\\main(line 42): wmain] text"));
}

TEST(LoggerRecord, RecordFlag_ChangesNothing) {
    for (const bool flag : {false, true}) {
        LoggerConfig config = test::QuietConfig();
        config.RecordFlag = flag;
        const test::LogCapture capture(config);
        LogMessage(L"text");
        EXPECT_THAT(capture.Lines(), ElementsAre(L"[T][quillon] text"));
    }
}

TEST(LoggerRecord, SecondConfigure_PutsANewFormatterInPlace) {
    LoggerConfig config = test::QuietConfig();
    const test::LogCapture capture(config);
    LogMessage(L"before");
    config.RecordSourceLocation = true;
    config.ComponentName = L"other";
    config.LogToFile = true;
    EXPECT_TRUE(Logger::Instance().Configure(config));
    LogMessage(L"after");
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[T][quillon] before",
                                             L"[T][other] [C:\\src\\main(line 42): wmain] after"));
}

// The sinks

/// The output of the three sinks, in order. Standard output counts as redirected.
class SinkProbe {
  public:
    [[nodiscard]] std::vector<std::wstring> Take() { return std::exchange(events_, {}); }

  private:
    static std::wstring Wide(const void* bytes, DWORD count) {
        const char* first = static_cast<const char*>(bytes);
        return {first, first + count};
    }

    std::vector<std::wstring> events_;
    test::ScopedHook<test::GetConsoleModeHook> mode_{[](auto...) { return FALSE; }};
    test::ScopedHook<test::OutputDebugStringWHook> debugger_{
        [this](const wchar_t* text) { events_.push_back(std::wstring(L"debugger: ") + text); }};
    test::ScopedHook<test::WriteFileHook> write_{
        [this](HANDLE file, const void* bytes, DWORD count, DWORD* written, OVERLAPPED* position) {
            if (file == ::GetStdHandle(STD_OUTPUT_HANDLE)) {
                events_.push_back(L"console: " + Wide(bytes, count));
                *written = count;
                return TRUE;
            }
            events_.push_back(L"file: " + std::wstring(static_cast<const wchar_t*>(bytes),
                                                       count / sizeof(wchar_t)));
            return test::WriteFileHook::Real(file, bytes, count, written, position);
        }};
};

/// Bit 0 console, bit 1 debugger, bit 2 file.
class LoggerSinks : public LoggerTest, public ::testing::WithParamInterface<unsigned> {};

TEST_P(LoggerSinks, EachSwitchedOnSink_GetsTheSameCharactersInTheOrderConsoleDebuggerFile) {
    LoggerConfig config = FileConfig();
    config.LogToConsole = (GetParam() & 1) != 0;
    config.LogToDebugger = (GetParam() & 2) != 0;
    config.LogToFile = (GetParam() & 4) != 0;
    Logger::Instance().Configure(config);
    const test::FixedClock clock(SampleTime);
    SinkProbe probe;
    LogMessage(L"a 100% b\nc");
    std::vector<std::wstring> expected;
    if (config.LogToConsole) {
        expected.push_back(L"console: " + SampleHead + L"a 100% b\r\nc\r\n");
    }
    if (config.LogToDebugger) {
        expected.push_back(L"debugger: " + SampleHead + L"a 100% b\nc\n");
    }
    if (config.LogToFile) {
        expected.push_back(L"file: " + SampleHead + L"a 100% b\nc\n");
    }
    EXPECT_EQ(probe.Take(), expected);
}

INSTANTIATE_TEST_SUITE_P(AllCombinations, LoggerSinks, ::testing::Range(0U, 8U));

TEST_F(LoggerTest, WithoutFileSink_NoDirectoryAndNoFileIsMade) {
    LoggerConfig config = FileConfig();
    config.LogDirectory += L"logs\\";
    config.LogToFile = false;
    config.LogToDebugger = true;
    const test::DebuggerChannel debugger;
    EXPECT_TRUE(Logger::Instance().Configure(config));
    LogMessage(L"text");
    test::FreshLogger::Renew();
    EXPECT_THAT(folder_.Names(), IsEmpty());
}

TEST_F(LoggerTest, Record_IsOneWriteAndCanBeReadWhenTheCallReturns) {
    Logger::Instance().Configure(FileConfig());
    int writes = 0;
    const test::ScopedHook<test::WriteFileHook> hook([&](auto... args) {
        ++writes;
        return test::WriteFileHook::Real(args...);
    });
    LogMessage(L"first");
    EXPECT_EQ(writes, 1);
    EXPECT_THAT(Records(), ElementsAre(L"[T][quillon] first"));
    LogMessage(std::wstring(10000, L'x').c_str());
    EXPECT_EQ(writes, 2);
    EXPECT_THAT(Records(), SizeIs(2));
}

TEST_F(LoggerTest, NoFileOpen_EachRecordTriesTheWriteAndSaysSoOnTheDebuggerChannel) {
    LoggerConfig config = NoFileConfig();
    config.LogToConsole = true;
    config.LogToDebugger = true;
    int created = 0;
    const test::ScopedHook<test::CreateFileWHook> create([&](auto... args) {
        ++created;
        return test::CreateFileWHook::Real(args...);
    });
    EXPECT_TRUE(Logger::Instance().Configure(config));
    const test::FixedClock clock(SampleTime);
    SinkProbe probe;
    for (const wchar_t* message : {L"first", L"second"}) {
        EXPECT_TRUE(LogMessage(message));
        const std::wstring record = SampleHead + message;
        EXPECT_THAT(probe.Take(),
                    ElementsAre(L"console: " + record + L"\r\n", L"debugger: " + record + L"\n",
                                L"file: " + record + L"\n", L"debugger: " + WriteToNoFile));
    }
    EXPECT_EQ(created, 0) << "the file is not tried again";
}

TEST_F(LoggerTest, FileFailure_IsToldAlsoWhenTheDebuggerSinkIsOff) {
    Logger::Instance().Configure(NoFileConfig());
    test::DebuggerChannel debugger;
    LogMessage(L"text");
    EXPECT_THAT(debugger.Take(), ElementsAre(WriteToNoFile));
    LogMessage(L"dropped", 16);
    EXPECT_THAT(debugger.Take(), IsEmpty());
}

TEST_F(LoggerTest, FirstFileThatExists_IsToldAndConfigureReturnsTrue) {
    const std::wstring path = folder_.WithBackslash() + L"quillon-20201116-163012-345.0.log";
    test::WriteFileBytes(path, "older");
    const test::FixedClock clock(SampleTime);
    test::DebuggerChannel debugger;
    EXPECT_TRUE(Logger::Instance().Configure(FileConfig()));
    EXPECT_THAT(debugger.Take(), ElementsAre(L"Creation new file: " + path + L" , error: 80"));
    LogMessage(L"text");
    EXPECT_THAT(debugger.Take(), ElementsAre(WriteToNoFile));
    EXPECT_EQ(test::ReadBytes(path), "older");
}

TEST_F(LoggerTest, FailedWrite_LosesThatRecordInTheFileAlone) {
    LoggerConfig config = FileConfig();
    config.LogToDebugger = true;
    Logger::Instance().Configure(config);
    const test::FixedClock clock(SampleTime);
    test::DebuggerChannel debugger;
    LogMessage(L"first");
    {
        const test::ScopedHook<test::WriteFileHook> hook([](auto...) {
            ::SetLastError(ERROR_DISK_FULL);
            return FALSE;
        });
        EXPECT_TRUE(LogMessage(L"second"));
    }
    LogMessage(L"third");
    EXPECT_THAT(debugger.Take(),
                ElementsAre(SampleHead + L"first\n", SampleHead + L"second\n",
                            L"Write operation failed, error: 112", SampleHead + L"third\n"));
    EXPECT_THAT(Records(), ElementsAre(L"[T][quillon] first", L"[T][quillon] third"));
}

TEST_F(LoggerTest, ShortWrite_LeavesTheCutRecordAndTheNextFollowsDirectly) {
    Logger::Instance().Configure(FileConfig());
    const test::FixedClock clock(SampleTime);
    test::DebuggerChannel debugger;
    {
        const test::ScopedHook<test::WriteFileHook> hook(
            [](HANDLE file, const void* data, DWORD, DWORD* written, OVERLAPPED* position) {
                return test::WriteFileHook::Real(file, data, 20, written, position);
            });
        LogMessage(L"cut");
    }
    LogMessage(L"next");
    EXPECT_EQ(test::ReadLogText(File(0)), SampleHead.substr(0, 10) + SampleHead + L"next\n");
    EXPECT_THAT(
        debugger.Take(),
        ElementsAre(L"Write operation failed, error: 20(written bytes) != 76(bytes to write)"));
}

const test::ChildRoutine logToConsole(
    L"log-to-console", [](const std::vector<std::wstring>& arguments) {
        LoggerConfig config = test::QuietConfig();
        config.ComponentName = L"Почта";
        config.LogToConsole = true;
        Logger::Instance().Configure(config);
        const test::FixedClock clock(SampleTime);
        LogMessage(L"C:\\收件箱\\😀 — ж, then more\nsecond line");
        LogMessage(std::wstring(std::stoul(arguments.at(0)), L'漢').c_str());
        return 0;
    });

TEST(LoggerConsole, TextOutsideTheCodePage_IsWrittenWholeAsUtf8) {
    test::Child child(test::SelfCommandLine(L"log-to-console", {L"40000"}));
    EXPECT_EQ(child.Wait(), 0U);
    const std::string head = "[20201116-163012-345][T][Почта] ";
    std::string longMessage;
    for (int count = 0; count < 16383; ++count) {
        longMessage += "漢";
    }
    const std::string output = child.Output();
    const std::string expected = head + "C:\\收件箱\\😀 — ж, then more\r\nsecond line\r\n" + head +
                                 longMessage + "\r\n" + "";
    // After them comes the closing record, whose time is that of the process's end.
    EXPECT_EQ(output.substr(0, expected.size()), expected);
    EXPECT_EQ(output.substr(std::min(output.size(), expected.size() + 21)), "[T][Почта] End\r\n");
}

// Order and locks

TEST_F(LoggerTest, RecordsOfSeveralThreads_StandWholeAndInTheOrderOfTheirTimes) {
    constexpr int Threads = 4;
    constexpr int Rounds = 200;
    Logger::Instance().Configure(FileConfig());
    std::atomic<unsigned> reading{0};
    const test::ScopedHook<test::GetSystemTimeHook> clock([&](SYSTEMTIME* now) {
        const unsigned number = reading++;
        *now = test::Moment(2020, 1, 1, 0, 0, static_cast<WORD>(number / 1000),
                            static_cast<WORD>(number % 1000));
        // Code that read the clock outside the lock would now let others pass.
        ::SwitchToThread();
    });
    std::vector<std::thread> threads;
    for (int thread = 0; thread < Threads; ++thread) {
        threads.emplace_back([] {
            for (int round = 0; round < Rounds; ++round) {
                LogMessage(L"text");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::wstring expected;
    for (int number = 0; number < Threads * Rounds; ++number) {
        wchar_t time[32];
        ::swprintf_s(time, 32, L"[20200101-0000%02d-%03d]", number / 1000, number % 1000);
        expected += std::wstring(time) + L"[T][quillon] text\n";
    }
    EXPECT_EQ(test::ReadLogText(File(0)), expected);
}

TEST_F(LoggerTest, CallFromWithinASinkOfTheSameThread_IsWrittenFirst) {
    LoggerConfig config = FileConfig();
    config.LogToDebugger = true;
    Logger::Instance().Configure(config);
    bool entered = false;
    const test::ScopedHook<test::OutputDebugStringWHook> sink([&](const wchar_t*) {
        if (!std::exchange(entered, true)) {
            LogMessage(L"inner");
        }
    });
    LogMessage(L"outer");
    EXPECT_THAT(Records(), ElementsAre(L"[T][quillon] inner", L"[T][quillon] outer"));
}

TEST_F(LoggerTest, ExceptionThatLeavesTheCall_ReleasesTheLock) {
    LoggerConfig config = FileConfig();
    config.LogToDebugger = true;
    Logger::Instance().Configure(config);
    {
        const test::ScopedHook<test::OutputDebugStringWHook> sink(
            [](const wchar_t*) { throw std::bad_alloc(); });
        EXPECT_THROW(LogMessage(L"lost"), std::bad_alloc);
    }
    const test::DebuggerChannel debugger;
    Gate written;
    std::thread other([&] {
        LogMessage(L"other thread");
        written.Open();
    });
    if (!written.Wait()) {
        other.detach();
        FAIL() << "the lock is still held";
    }
    other.join();
    EXPECT_THAT(Records(), ElementsAre(L"[T][quillon] other thread"));
}

TEST_F(LoggerTest, CallFromWithinTheRotation_GoesToTheNewFile) {
    LoggerConfig config = FileConfig();
    config.MaxFileSize = 100;
    Logger::Instance().Configure(config);
    bool inside = false;
    const test::ScopedHook<test::CreateFileWHook> create([&](const wchar_t* path, auto... args) {
        // By then the switch has started and the old file is still open.
        if (std::wstring(path).find(L".1.log") != std::wstring::npos &&
            !std::exchange(inside, true)) {
            LogMessage(L"inside");
        }
        return test::CreateFileWHook::Real(path, args...);
    });
    LogMessage(L"passes the limit of 100 bytes");
    EXPECT_THAT(Records(0), ElementsAre(L"[T][quillon] passes the limit of 100 bytes"));
    const std::vector<std::wstring> next = Records(1);
    ASSERT_THAT(next, SizeIs(4));
    EXPECT_EQ(next[0], L"[T][quillon] inside");
    EXPECT_EQ(next[1].substr(0, 20), L"[T][quillon] build: ");
}

// Configure

TEST_F(LoggerTest, Configure_TakesACopy) {
    LoggerConfig config = FileConfig();
    Logger::Instance().Configure(config);
    config.ComponentName = L"changed";
    config.TraceLevelsMask = 0;
    config.LogToFile = false;
    LogMessage(L"text");
    EXPECT_THAT(Records(), ElementsAre(L"[T][quillon] text"));
}

TEST_F(LoggerTest, Configure_WritesNoHeaderByItself) {
    Logger::Instance().Configure(FileConfig());
    EXPECT_EQ(test::ReadBytes(File(0)), "\xFF\xFE");
}

TEST_F(LoggerTest, Configure_BringsTheTracesOfTheSystemLayerIntoTheLog) {
    SystemTrace(4, L"early %lu", 1UL);
    Logger::Instance().Configure(FileConfig());
    SystemTrace(4, L"name %s", L"100%%");
    EXPECT_THAT(Records(), ElementsAre(L"[T][quillon] name 100%"));
}

// The header

/// Fixes the clock and sets the path of the executable.
class LoggerHeader : public ::testing::Test {
  protected:
    /// The messages of the header, after checks of tag and component.
    static std::vector<std::wstring> Messages(
        const test::GetModuleFileNameWHook::Function& moduleName,
        const LoggerConfig& config = test::QuietConfig()) {
        const test::LogCapture capture(config);
        const test::FixedClock clock(test::Moment(2021, 2, 3, 4, 5, 6, 7));
        const test::ScopedHook<test::GetModuleFileNameWHook> module(moduleName);
        Logger::Instance().WriteHeader();
        std::vector<std::wstring> messages;
        const std::wstring head = L"[T][quillon] ";
        for (const std::wstring& line : capture.Lines()) {
            EXPECT_EQ(line.substr(0, head.size()), head);
            messages.push_back(line.substr(head.size()));
        }
        return messages;
    }

    static test::GetModuleFileNameWHook::Function Path(const std::wstring& path) {
        return [path](HMODULE module, wchar_t* buffer, DWORD size) {
            EXPECT_EQ(module, nullptr);
            EXPECT_EQ(size, 260U);
            const DWORD length = static_cast<DWORD>(path.copy(buffer, size - 1));
            buffer[length] = 0;
            return path.size() < size ? length : size;
        };
    }

    static std::wstring BuildLine(const std::wstring& path) {
        return L"build: 804, process: " + std::to_wstring(::GetCurrentProcessId()) + L", '" + path +
               L"'";
    }

    /// Local time runs one day, two hours and three minutes ahead.
    test::ScopedHook<test::SystemTimeToTzSpecificLocalTimeHook> zone_{
        [this](const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* utc, SYSTEMTIME* local) {
            EXPECT_EQ(zone, nullptr);
            *local = *utc;
            local->wDay = static_cast<WORD>(utc->wDay + 1);
            local->wHour = static_cast<WORD>(utc->wHour + 2);
            local->wMinute = static_cast<WORD>(utc->wMinute + 3);
            return converts_ ? TRUE : FALSE;
        }};
    bool converts_ = true;
};

TEST_F(LoggerHeader, Records_AreBuildUtcAndLocalOfTheSameMoment) {
    EXPECT_THAT(Messages(Path(L"C:\\dir\\host.exe")),
                ElementsAre(BuildLine(L"C:\\dir\\host.exe"), L"2021.02.03 04:05:06 UTC",
                            L"2021.02.04 06:08:06 LOCAL"));
}

TEST_F(LoggerHeader, BuildNumber_IsThatOfTheConfigUnsigned) {
    LoggerConfig config = test::QuietConfig();
    config.BuildNumber = 4294967295U;
    EXPECT_EQ(
        Messages(Path(L"x"), config).at(0),
        L"build: 4294967295, process: " + std::to_wstring(::GetCurrentProcessId()) + L", 'x'");
}

TEST_F(LoggerHeader, FailedConversionOfTheTime_LeavesLocalOut) {
    converts_ = false;
    test::DebuggerChannel debugger;
    EXPECT_THAT(Messages(Path(L"x")), ElementsAre(BuildLine(L"x"), L"2021.02.03 04:05:06 UTC"));
    EXPECT_THAT(debugger.Take(), IsEmpty());
}

TEST_F(LoggerHeader, FailedModuleName_GivesAnEmptyPath) {
    const auto messages = Messages([](HMODULE, wchar_t*, DWORD) -> DWORD {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    });
    EXPECT_THAT(messages, ElementsAre(BuildLine(L""), L"2021.02.03 04:05:06 UTC",
                                      L"2021.02.04 06:08:06 LOCAL"));
}

TEST_F(LoggerHeader, PathOf259Characters_StandsWholeAndALongerOneCutThere) {
    const std::wstring fits = L"C:\\" + std::wstring(256, L'p');
    EXPECT_EQ(Messages(Path(fits)).at(0), BuildLine(fits));
    EXPECT_EQ(Messages(Path(fits + L"q")).at(0), BuildLine(fits));
}

TEST_F(LoggerHeader, PercentSignsInThePath_AreReadAsFormatOnce) {
    EXPECT_EQ(Messages(Path(L"C:\\a%%b\\x.exe")).at(0), BuildLine(L"C:\\a%b\\x.exe"));
    EXPECT_EQ(Messages(Path(L"C:\\%s%n%*d\\x.exe")).at(0), BuildLine(L"C:\\%s%n%*d\\x.exe"));
    EXPECT_EQ(Messages(Path(L"C:\\100%")).at(0), BuildLine(L"C:\\100"));
}

TEST_F(LoggerHeader, SourceLocation_IsThatOfTheForwarder) {
    LoggerConfig config = test::QuietConfig();
    config.RecordSourceLocation = true;
    for (const std::wstring& message : Messages(Path(L"x"), config)) {
        EXPECT_EQ(message.substr(0, 38), L"[framework/logger/internal_trace(line ");
        EXPECT_NE(message.find(L"): FrameworkExternalLogCallbackDefault] "), std::wstring::npos);
    }
}

TEST_F(LoggerHeader, MaskWithoutTrace_HidesTheHeader) {
    EXPECT_THAT(Messages(Path(L"x"), WithMask(0xFFFFFFFB)), IsEmpty());
}

// Flush

TEST_F(LoggerTest, LogFlush_ForcesTheOpenFileToDiskOnce) {
    HANDLE opened = nullptr;
    const test::ScopedHook<test::CreateFileWHook> create([&](const wchar_t* path, auto... args) {
        const HANDLE handle = test::CreateFileWHook::Real(path, args...);
        if (std::wstring(path).find(L".0.log") != std::wstring::npos) {
            opened = handle;
        }
        return handle;
    });
    Logger::Instance().Configure(FileConfig());
    std::vector<HANDLE> flushed;
    const test::ScopedHook<test::FlushFileBuffersHook> flush([&](HANDLE file) {
        flushed.push_back(file);
        return FALSE;  // the result isn't used
    });
    test::DebuggerChannel debugger;
    LogFlush();
    EXPECT_THAT(flushed, ElementsAre(opened));
    EXPECT_THAT(debugger.Take(), IsEmpty());
    LogMessage(L"text");
    EXPECT_THAT(Records(), ElementsAre(L"[T][quillon] text"));
}

TEST_F(LoggerTest, LogFlushWithNoFileOpen_IsHarmless) {
    std::vector<HANDLE> flushed;
    const test::ScopedHook<test::FlushFileBuffersHook> flush([&](HANDLE file) {
        flushed.push_back(file);
        return test::FlushFileBuffersHook::Real(file);
    });
    test::DebuggerChannel debugger;
    LogFlush();
    Logger::Instance().Configure(NoFileConfig());
    LogFlush();
    EXPECT_THAT(flushed, ElementsAre(nullptr, nullptr));
    EXPECT_THAT(debugger.Take(), IsEmpty());
}

TEST_F(LoggerTest, NothingButLogFlush_ForcesDataToDisk) {
    int flushes = 0;
    const test::ScopedHook<test::FlushFileBuffersHook> flush([&](auto...) {
        ++flushes;
        return TRUE;
    });
    LoggerConfig config = FileConfig();
    config.MaxFileSize = 200;
    config.CompressRotatedLogs = true;
    Logger::Instance().Configure(config);
    for (int round = 0; round < 10; ++round) {
        LogMessage(L"text that fills the files");
    }
    test::FreshLogger::Renew();
    EXPECT_EQ(flushes, 0);
}

TEST_F(LoggerTest, LogFlush_DoesNotWaitForARecordInProgress) {
    LoggerConfig config = FileConfig();
    config.LogToDebugger = true;
    Logger::Instance().Configure(config);
    Gate holding;
    Gate goOn;
    const test::ScopedHook<test::OutputDebugStringWHook> sink([&](const wchar_t*) {
        holding.Open();
        EXPECT_TRUE(goOn.Wait());
    });
    std::thread holder([] { LogMessage(L"in progress"); });
    EXPECT_TRUE(holding.Wait());
    Gate flushed;
    std::thread flusher([&] {
        LogFlush();
        flushed.Open();
    });
    EXPECT_TRUE(flushed.Wait());
    goOn.Open();
    holder.join();
    flusher.join();
}

TEST_F(LoggerTest, LogFlush_WaitsWhileTheFileIsSwitched) {
    LoggerConfig config = FileConfig();
    config.MaxFileSize = 100;
    Logger::Instance().Configure(config);
    std::atomic<HANDLE> newFile{nullptr};
    std::atomic<HANDLE> flushedFile{nullptr};
    const test::ScopedHook<test::FlushFileBuffersHook> flush([&](HANDLE file) {
        flushedFile = file;
        return TRUE;
    });
    Gate flushed;
    std::thread flusher;
    const test::ScopedHook<test::CreateFileWHook> create([&](const wchar_t* path, auto... args) {
        const HANDLE handle = test::CreateFileWHook::Real(path, args...);
        if (std::wstring(path).find(L".1.log") != std::wstring::npos &&
            handle != INVALID_HANDLE_VALUE) {
            newFile = handle;
            Gate started;
            flusher = std::thread([&] {
                started.Open();
                LogFlush();
                flushed.Open();
            });
            EXPECT_TRUE(started.Wait());
            // A flush that doesn't wait has this long to be detected.
            EXPECT_FALSE(flushed.Wait(std::chrono::milliseconds(200)));
        }
        return handle;
    });
    LogMessage(L"passes the limit of 100 bytes");
    ASSERT_TRUE(flusher.joinable());
    flusher.join();
    EXPECT_NE(newFile.load(), nullptr);
    EXPECT_EQ(flushedFile.load(), newFile.load());
}

// The singleton and its end

TEST(LoggerInstance, EveryThread_GetsTheSameObject) {
    Logger* const mine = &Logger::Instance();
    Logger* theirs = nullptr;
    std::thread([&] { theirs = &Logger::Instance(); }).join();
    EXPECT_EQ(theirs, mine);
}

const test::ChildRoutine firstOfEight(L"first-of-eight", [](const std::vector<std::wstring>&) {
    std::vector<Logger*> found(8);
    Gate start;
    std::vector<std::thread> threads;
    for (Logger*& place : found) {
        threads.emplace_back([&] {
            static_cast<void>(start.Wait());
            place = &Logger::Instance();
        });
    }
    start.Open();
    for (std::thread& thread : threads) {
        thread.join();
    }
    return static_cast<int>(std::count(found.begin(), found.end(), found.front()));
});

TEST(LoggerInstance, EightThreadsAtOnceAsTheFirst_MakeOneObject) {
    test::Child child(test::SelfCommandLine(L"first-of-eight"));
    EXPECT_EQ(child.Wait(), 8U);
}

/// Logs until the process is gone; its arguments are the folder and the mask.
const test::ChildRoutine logAndReturn(L"log-and-return",
                                      [](const std::vector<std::wstring>& arguments) {
                                          LoggerConfig config = test::QuietConfig();
                                          config.LogDirectory = arguments.at(0);
                                          config.TraceLevelsMask = std::stoul(arguments.at(1));
                                          config.LogToFile = true;
                                          Logger::Instance().Configure(config);
                                          // Registered after the logger's own end and so run before
                                          // it.
                                          std::atexit(
                                              [] { LogMessage(L"from an exit handler", 1, L"E"); });
                                          LogMessage(L"last words", 1, L"E");
                                          return 5;
                                      });

class LoggerAtExit : public LoggerTest {
  protected:
    void RunChild(const std::wstring& mask) {
        // The child removes a trailing quotation mark's backslash unless it is doubled.
        test::Child child(
            test::SelfCommandLine(L"log-and-return", {folder_.WithBackslash() + L'\\', mask}));
        EXPECT_EQ(child.Wait(), 5U);
    }
};

TEST_F(LoggerAtExit, OrderlyEnd_WritesTheClosingRecordBehindAllOthers) {
    RunChild(L"7");
    EXPECT_THAT(Records(), ElementsAre(L"[E][quillon] last words",
                                       L"[E][quillon] from an exit handler", L"[T][quillon] End"));
}

TEST_F(LoggerAtExit, MaskWithoutTrace_HidesTheClosingRecord) {
    RunChild(L"3");
    EXPECT_THAT(Records(),
                ElementsAre(L"[E][quillon] last words", L"[E][quillon] from an exit handler"));
}

TEST_F(LoggerAtExit, MaskZero_LeavesTheByteOrderMarkAlone) {
    RunChild(L"0");
    EXPECT_EQ(test::ReadBytes(File(0)), "\xFF\xFE");
}

TEST_F(LoggerTest, RecordAfterTheEnd_FailsAtTheWriteAndIsHarmless) {
    Logger::Instance().Configure(FileConfig());
    Logger::Instance().Shutdown();
    test::DebuggerChannel debugger;
    EXPECT_TRUE(LogMessage(L"late"));
    EXPECT_THAT(debugger.Take(), ElementsAre(WriteToNoFile));
    EXPECT_THAT(Records(), ElementsAre(L"[T][quillon] End"));
}

}  // namespace
}  // namespace framework
