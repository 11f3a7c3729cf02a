// `-dump` of a victim that is suspended inside its exception.

#include <gmock/gmock.h>

#include <string>

#include "tests/end-to-end/crash/crash_run.h"
#include "tests/end-to-end/crash/minidump_reader.h"
#include "tests/end-to-end/support/log_files.h"

namespace {

using test::CrashRun;
using test::E;
using test::Records;
using test::T;

constexpr DWORD VictimCode = 0xE0004321;
constexpr std::uint32_t VictimExit = 55;
constexpr const char* Banner = "!!! DUMP WAS CREATED !!!\r\n";

std::wstring victimFile;
std::wstring victimEvent;

/// Publishes the address of the exception and waits to be resumed.
LONG WINAPI TellAndSuspend(EXCEPTION_POINTERS* pointers) {
    if (pointers->ExceptionRecord->ExceptionCode != VictimCode) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    constexpr std::size_t Size = 64;
    char text[Size] = {};
    const int length =
        std::snprintf(text, Size, "%lu %p", ::GetCurrentThreadId(), static_cast<void*>(pointers));
    test::WriteFileBytes(victimFile, std::string(text, static_cast<std::size_t>(length)));
    ::SetEvent(::OpenEventW(EVENT_MODIFY_STATE, FALSE, victimEvent.c_str()));
    ::SuspendThread(::GetCurrentThread());
    ::ExitProcess(VictimExit);
    return EXCEPTION_CONTINUE_SEARCH;
}

int BeVictim(const std::vector<std::wstring>& arguments) {
    victimFile = arguments.at(0);
    victimEvent = arguments.at(1);
    ::AddVectoredExceptionHandler(1, TellAndSuspend);
    ::RaiseException(VictimCode, 0, 0, nullptr);
    return 0;
}
const test::ChildRoutine beVictim(L"be-victim", BeVictim);

class DumpMode : public ::testing::Test {
  protected:
    DumpMode() { run_.Script(""); }

    /// Starts the victim and waits until it has suspended itself, or is about to.
    void StartVictim() {
        const test::SharedEvent told(run_.Host(), "victim");
        const std::filesystem::path file = run_.Host().Path() / L"victim.txt";
        victim_ = std::make_unique<test::Child>(test::SelfCommandLine(
            L"be-victim", {file.wstring(), std::filesystem::path(told.Name()).wstring()}));
        ASSERT_TRUE(told.Wait());
        WaitUntilSuspended();
        const std::string text = test::ReadBytes(file);
        const std::size_t blank = text.find(' ');
        thread_ = std::stoul(text.substr(0, blank));
        pointers_ = text.substr(blank + 1);
    }

    /// Increments and restores the suspend count; the previous count is the result.
    void WaitUntilSuspended() const {
        constexpr ULONGLONG LimitMs = 20000;
        const ULONGLONG end = ::GetTickCount64() + LimitMs;
        for (;;) {
            const DWORD before = ::SuspendThread(victim_->Thread());
            ::ResumeThread(victim_->Thread());
            if (before != 0) {
                return;
            }
            ASSERT_LT(::GetTickCount64(), end) << "the victim doesn't suspend itself";
            ::SwitchToThread();
        }
    }

    std::uint32_t Dump(const std::string& processId, const std::string& threadId,
                       const std::string& pointers) {
        const std::string arguments = "-dump " + processId + " " + threadId + " " + pointers;
        return run_.Run(std::wstring(arguments.begin(), arguments.end()));
    }

    std::uint32_t Dump(const std::string& threadId, const std::string& pointers) {
        return Dump(std::to_string(victim_->ProcessId()), threadId, pointers);
    }

    /// The records between the parameters and the end.
    [[nodiscard]] Records Body() const {
        const Records log = run_.Host().OnlyLog();
        constexpr std::size_t Before = 4 + 1 + 5;
        const Records end = test::OrderlyEnd();
        if (log.size() < Before + end.size()) {
            ADD_FAILURE() << "the log is too short";
            return {};
        }
        EXPECT_EQ(Records(log.end() - 2, log.end()), end);
        return {log.begin() + Before, log.end() - 2};
    }

    CrashRun run_;
    std::unique_ptr<test::Child> victim_;
    unsigned long thread_ = 0;
    std::string pointers_;
};

TEST_F(DumpMode, OfALiveProcess_HoldsItsExceptionAndResumesItsThread) {
    StartVictim();
    EXPECT_EQ(Dump(std::to_string(thread_), pointers_), 0U);
    EXPECT_EQ(run_.Output(), Banner);
    EXPECT_EQ(Body(), Records{T(L"Minidump written to " + run_.DumpFile().wstring())});

    const test::Minidump dump = test::ReadMinidump(run_.DumpFile());
    EXPECT_TRUE(dump.hasException);
    EXPECT_EQ(dump.exceptionCode, VictimCode);
    EXPECT_EQ(dump.exceptionThread, thread_);
    EXPECT_TRUE(dump.HasThread(static_cast<std::uint32_t>(thread_)));
    EXPECT_TRUE(dump.HasModule(test::OwnPath()));
    EXPECT_EQ(victim_->Wait(), VictimExit);
}

TEST_F(DumpMode, PointerThatDoesNotParse_IsZeroAndTheDumpIsWrittenAllTheSame) {
    StartVictim();
    run_.Script("trace-import MiniDumpWriteDump\n");
    EXPECT_EQ(Dump(std::to_string(thread_), "zzz"), 0U);
    EXPECT_EQ(run_.Output(), Banner);
    EXPECT_EQ(run_.Host().ReadTranscript().With("import", "MiniDumpWriteDump").size(), 2U);
    EXPECT_EQ(Body(), Records{T(L"Minidump written to " + run_.DumpFile().wstring())});
    EXPECT_TRUE(test::ReadMinidump(run_.DumpFile()).HasModule(test::OwnPath()));
    EXPECT_EQ(victim_->Wait(), VictimExit);
}

struct Unopened {
    const char* name;
    const char* process;  ///< null: the victim's
    const char* thread;
    const wchar_t* line;
};

void PrintTo(const Unopened& unopened, std::ostream* out) {
    *out << unopened.name;
}

class DumpModeUnopened : public DumpMode, public ::testing::WithParamInterface<Unopened> {};

TEST_P(DumpModeUnopened, IsOneLineAndTheBannerAllTheSame) {
    StartVictim();
    const std::string process =
        GetParam().process != nullptr ? GetParam().process : std::to_string(victim_->ProcessId());
    EXPECT_EQ(Dump(process, GetParam().thread, pointers_), 0U);
    EXPECT_EQ(run_.Output(), Banner);
    EXPECT_EQ(Body(), Records{E(GetParam().line)});
    EXPECT_EQ(run_.DumpCount(), 0U);
    // Nothing has resumed it.
    EXPECT_TRUE(victim_->Running());
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, DumpModeUnopened,
    ::testing::Values(Unopened{"NoSuchProcess", "4294967294", "1",
                               L"OpenProcess for processId 4294967294 failed with error 87"},
                      Unopened{"ProcessDoesNotParse", "abc", "1",
                               L"OpenProcess for processId 0 failed with error 87"},
                      Unopened{"ProcessInHexadecimal", "0x20", "1",
                               L"OpenProcess for processId 0 failed with error 87"},
                      Unopened{"NoSuchThread", nullptr, "4294967294",
                               L"OpenThread for threadId 4294967294 failed with error 87"},
                      Unopened{"ThreadDoesNotParse", nullptr, "abc",
                               L"OpenThread for threadId 0 failed with error 87"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(DumpMode, TwoValues_EndAbnormallyWithoutBannerLineOrDump) {
    StartVictim();
    EXPECT_EQ(run_.Run(L"-dump " + std::to_wstring(victim_->ProcessId()) + L" " +
                       std::to_wstring(thread_)),
              test::FailFastExit);
    EXPECT_EQ(run_.Output(), "");
    EXPECT_EQ(run_.DumpCount(), 0U);
    const Records log = run_.Host().OnlyLog();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.back(), T(L"Parameter 3 = " + std::to_wstring(thread_)));
    EXPECT_TRUE(victim_->Running());
}

}  // namespace
