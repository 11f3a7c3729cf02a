// A crash while other threads log and files are switched: one dump, the exception code, and a log
// without losses.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "framework/exception/exception_filter.h"
#include "tests/end-to-end/log_files/numbered_records.h"
#include "tests/races/writing_child.h"
#include "tests/support/child_process.h"
#include "tests/support/platform_hooks.h"

namespace {

constexpr DWORD AccessViolation = 0xC0000005;
constexpr std::uint32_t MoreRecordsThanAnyRun = 100000000;
constexpr int MostStepsBeforeTheCrash = 12;
constexpr const wchar_t* DumpName = L"crash.dmp";
constexpr const wchar_t* DumpCallsName = L"dump-calls";

void Crash() {
    static volatile std::uintptr_t nowhere = 0x10;
    *reinterpret_cast<volatile int*>(nowhere) = 1;
}

/// The place of the crash: a thread that doesn't log, two such threads at once, or a platform call
/// inside a file switch.
struct CrashPlace {
    const wchar_t* name;
    bool insideSwitch;  ///< records from there are lost
};

constexpr CrashPlace Places[] = {{L"outside", false},
                                 {L"twice", false},
                                 {L"creation", true},
                                 {L"compression", false},
                                 {L"deletion", false}};

void PrintTo(const CrashPlace& place, std::ostream* out) {
    *out << testing::PrintToString(place.name);
}

/// Counts down the calls of a step, and crashes in the last one.
class CrashStep {
  public:
    explicit CrashStep(int calls) : left_(calls) {}
    void Take() {
        if (--left_ == 0) {
            Crash();
        }
    }

  private:
    std::atomic<int> left_;
};

/// Writes dumps in no time. Each call writes one byte.
BOOL WriteQuickDump(HANDLE file, const std::filesystem::path& calls) {
    DWORD written = 0;
    test::WriteFileHook::Real(file, "MDMP", 4, &written, nullptr);
    std::ofstream(calls, std::ios::app) << 'x';
    return TRUE;
}

/// Arguments: those of a writing child, the place of the crash, "quick" to replace the real dump.
int RunAndCrash(const std::vector<std::wstring>& arguments) {
    test::WritingChild child(arguments);
    const std::wstring place = arguments.at(4);
    const std::wstring dumpPath = (child.folder / DumpName).wstring();
    const framework::ExceptionFilter filter({nullptr, nullptr, 0, dumpPath.c_str(), 0});
    if (arguments.at(5) == L"quick") {
        test::MiniDumpWriteDumpHook::replacement = [&](HANDLE, DWORD, HANDLE file, auto...) {
            return WriteQuickDump(file, child.folder / DumpCallsName);
        };
    }
    CrashStep step(1 + static_cast<int>(child.round.Below(MostStepsBeforeTheCrash)));
    if (place == L"creation") {
        test::CreateFileWHook::replacement = [&](const wchar_t* name, DWORD access, DWORD share,
                                                 auto* security, DWORD disposition, auto... rest) {
            if (disposition == CREATE_NEW) {
                step.Take();
            }
            return test::CreateFileWHook::Real(name, access, share, security, disposition, rest...);
        };
    } else if (place == L"compression") {
        test::ReadFileHook::replacement = [&](auto... all) {
            step.Take();
            return test::ReadFileHook::Real(all...);
        };
    } else if (place == L"deletion") {
        test::DeleteFileWHook::replacement = [&](const wchar_t* name) {
            step.Take();
            return test::DeleteFileWHook::Real(name);
        };
    }
    const test::Delay delay = child.round.DrawDelay(20000);
    const auto write = [&] {
        test::WriteNumberedRecords(test::Progress::Threads, MoreRecordsThanAnyRun,
                                   child.progress.Returned());
    };
    const auto crashLater = [&] {
        delay.Pass();
        Crash();
    };
    if (place == L"outside") {
        test::RunTogether(child.round, {write, crashLater});
    } else if (place == L"twice") {
        test::RunTogether(child.round, {write, crashLater, crashLater});
    } else {
        test::RunTogether(child.round, {write});
    }
    return 0;
}

const test::ChildRoutine crashing(L"write-and-crash", RunAndCrash);

/// Removes the crash path's own lines and returns the number of crashes in them.
std::size_t TakeCrashLinesOut(std::map<unsigned, test::LogFileContent>& files) {
    std::size_t crashes = 0;
    for (auto& [number, file] : files) {
        std::erase_if(file.records, [&](const std::wstring& record) {
            if (record.ends_with(L": exception occur ")) {
                ++crashes;
            }
            return record.find(L"] ExceptionFilter") != std::wstring::npos ||
                   record.find(L"] Minidump written to ") != std::wstring::npos;
        });
    }
    return crashes;
}

void CheckLog(const test::WritingChildPlace& place, const CrashPlace& crash) {
    auto files = test::ReadLogFolder(place.Logs());
    const std::size_t crashes = TakeCrashLinesOut(files);
    if (!crash.insideSwitch) {
        EXPECT_GE(crashes, 1U);
    }
    test::CheckFilesBeforeTheLast(files);
    test::CheckNothingLost(files, place.Written());
}

void PlayCrash(test::RaceRound& round, const CrashPlace& crash, const std::wstring& dumpKind) {
    const test::WritingChildPlace place(round);
    std::vector<std::wstring> arguments = place.Arguments();
    arguments.insert(arguments.end(), {crash.name, dumpKind});
    test::Child child(test::SelfCommandLine(L"write-and-crash", arguments));
    EXPECT_EQ(child.Wait(test::ChildLimitMs), AccessViolation) << child.Output();
    const std::string dump = test::ReadBytes(place.Folder().Path() / DumpName);
    EXPECT_EQ(dump.substr(0, 4), "MDMP");
    EXPECT_EQ(place.Folder().Names(L".dmp").size(), 1U);
    if (dumpKind == L"quick") {
        EXPECT_EQ(test::ReadBytes(place.Folder().Path() / DumpCallsName), "x") << "not one dump";
    }
    CheckLog(place, crash);
}

class CrashRaces : public testing::TestWithParam<CrashPlace> {};

INSTANTIATE_TEST_SUITE_P(Places, CrashRaces, testing::ValuesIn(Places), [](const auto& place) {
    return std::filesystem::path(place.param.name).string();
});

TEST_P(CrashRaces, CrashAmongLoggingThreads_LeavesOneDumpAndAWholeLog) {
    test::PlayRounds({.rounds = 20, .longRounds = 1000},
                     [](test::RaceRound& round) { PlayCrash(round, GetParam(), L"quick"); });
}

// The system's own dump takes a second or two.
TEST(CrashRaces, RealDumpAmongLoggingThreads_IsWrittenWithAWholeLog) {
    test::PlayRounds({.rounds = 1, .longRounds = 50}, [](test::RaceRound& round) {
        PlayCrash(round, Places[round.Below(std::size(Places))], L"real");
    });
}

}  // namespace
