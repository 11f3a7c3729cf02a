// Every exception code, continuable or not, at every place where the library runs, in every mode:
// the exact lines, one dump with that exception and thread, and the code as exit code.
//
// The whole table has 17 codes of each kind at 14 places, 476 runs. A short run uses a fixed
// part of it, with each code of each kind and each place. TARNWICK_LONG_TESTS=1 uses all.

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>

#include "tests/end-to-end/crash/crash_run.h"
#include "tests/end-to-end/crash/minidump_reader.h"
#include "tests/end-to-end/support/console_control.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/end-to-end/support/row_name.h"
#include "tests/end-to-end/support/service.h"

namespace {

using test::CrashRun;
using test::Join;
using test::Records;

/// The raised codes. The start-up code of MinGW's run-time library would handle the first six, and
/// codes that share their bits, if it were called.
constexpr std::uint32_t Codes[] = {
    0xC0000095,  // integer overflow
    0xC0000008,  // invalid handle
    0xC000008C,  // array bounds exceeded
    0xC0000092,  // floating-point stack check
    0x80000002,  // datatype misalignment
    0x30474343,  // shares its bits with a GCC C++ exception
    0xA1474343,  // likewise
    0xE06D7363,  // Visual C++ exception
    0xC0000005,  // access violation
    0xC0000094,  // integer division by zero
    0xC000001D,  // illegal instruction
    0xC0000096,  // privileged instruction
    0x80000003,  // breakpoint
    0x80000001,  // guard page
    0xC0000374,  // heap corruption
    0xE0001234,  // application code
    0x20474343,  // a C++ exception of GCC's, but raised without its parameters
};
constexpr std::size_t CodeCount = std::size(Codes);

enum class Mode { Console, Service, Unpack };

struct Place {
    const char* name;
    Mode mode;
    const char* script;  ///< RAISE is replaced by the crash, GO by an event that triggers it
    bool stops;          ///< it crashes after the stop that GO requests
    bool beforeRunning;  ///< a service that crashes during its start
};

void PrintTo(const Place& place, std::ostream* out) {
    *out << place.name;
}

constexpr Place Places[] = {
    {"CreateInConsole", Mode::Console, "on create RAISE\n", false, false},
    {"LoadInConsole", Mode::Console, "on load RAISE\n", false, false},
    {"ActivateInConsole", Mode::Console, "on activate RAISE\n", false, false},
    {"StopInConsole", Mode::Console, "on activate set-event GO\non notify RAISE\n", true, false},
    {"FreeInConsole", Mode::Console, "on load return 5\non free RAISE\n", false, false},
    {"LibraryThreadInConsole", Mode::Console, "on load thread RAISE\non load WAIT\n", false, false},
    {"CreateInService", Mode::Service, "on create wait-event GO 30000\non create RAISE\n", false,
     true},
    {"LoadInService", Mode::Service, "on load wait-event GO 30000\non load RAISE\n", false, false},
    {"ActivateInService", Mode::Service, "on activate wait-event GO 30000\non activate RAISE\n",
     false, false},
    {"StopInService", Mode::Service,
     "on load register\non activate enable-stop\non activate set-event GO\non notify RAISE\n", true,
     false},
    {"FreeInService", Mode::Service,
     "on load register\non activate enable-stop\non activate set-event GO\non free RAISE\n", true,
     false},
    {"LibraryThreadInService", Mode::Service, "on activate when-event GO RAISE\n", false, false},
    {"UnpackJob", Mode::Unpack, "on bootstrap RAISE\n", false, false},
    {"LibraryThreadOfTheUnpackJob", Mode::Unpack, "on bootstrap thread RAISE\non bootstrap WAIT\n",
     false, false},
};
constexpr std::size_t PlaceCount = std::size(Places);

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t place = 0; (place = text.find(what, place)) != std::string::npos;) {
        text.replace(place, what.size(), by);
        place += by.size();
    }
    return text;
}

/// The crash's records in the last of the logs.
Records CrashRecordsOf(const std::vector<std::filesystem::path>& logs) {
    if (logs.empty()) {
        ADD_FAILURE() << "no log";
        return {};
    }
    return test::OfTheCrash(test::ReadLogRecords(logs.back()));
}

class Floor : public ::testing::TestWithParam<Place> {
  protected:
    /// Runs one row and checks its results.
    void Play(std::uint32_t code, bool continuable) {
        const std::size_t row = row_++;
        const test::SharedEvent go(run_.Host(), "go" + std::to_string(row));
        std::ostringstream raise;
        raise << "crash raise 0x" << std::hex << code << (continuable ? " continuable" : "");
        SCOPED_TRACE(raise.str());
        std::string script = Replaced(GetParam().script, "RAISE", raise.str());
        script =
            Replaced(script, "WAIT", "wait-event " + run_.Host().EventName("never") + " 60000");
        // Each row has its own transcript.
        transcript_ = "row" + std::to_string(row) + ".txt";
        run_.Script("transcript " + transcript_ + "\n" + Replaced(script, "GO", go.Name()));
        if (GetParam().mode == Mode::Service) {
            PlayInService(code, go);
        } else {
            PlayInProcess(code, go);
        }
    }

  private:
    void PlayInProcess(std::uint32_t code, const test::SharedEvent& go) {
        const bool unpack = GetParam().mode == Mode::Unpack;
        const auto child =
            run_.Host().Start(unpack ? L"-zevrunzip" : L"-run",
                              GetParam().stops ? test::WithOwnConsole() : test::ChildOptions{});
        if (GetParam().stops) {
            ASSERT_TRUE(go.Wait()) << "the library wasn't activated";
            test::PressCtrlC(*child);
        }
        EXPECT_EQ(child->Wait(), code);
        const auto logs = test::LogFilesIn(run_.Host().Logs());
        Judge(code, logs, run_.DumpFile());
        for (const auto& log : logs) {
            std::filesystem::remove(log);
        }
    }

    void PlayInService(std::uint32_t code, const test::SharedEvent& go) {
        if (GetParam().beforeRunning) {
            StartAndCrash(code, go);
        } else {
            ASSERT_EQ(service_.Start(), 0U);
            service_.WaitFor(SERVICE_RUNNING);
            if (GetParam().stops) {
                ASSERT_TRUE(go.Wait()) << "the library wasn't activated";
                static_cast<void>(service_.Control(SERVICE_CONTROL_STOP));
            } else {
                go.Set();
            }
            EXPECT_EQ(service_.WaitForExit(), code);
        }
        const auto logs = service_.Logs();
        ASSERT_FALSE(logs.empty());
        Judge(code, logs, logs.back().parent_path().parent_path() / L"tarnwick-service.exe.dmp");
    }

    /// The start doesn't return while the library is created, so the transcript identifies its
    /// process.
    void StartAndCrash(std::uint32_t code, const test::SharedEvent& go) {
        const framework::KernelHandle starter(::CreateThread(
            nullptr, 0,
            [](void* service) -> DWORD { return static_cast<test::Service*>(service)->Start(); },
            &service_, 0, nullptr));
        framework::KernelHandle process;
        const ULONGLONG end = ::GetTickCount64() + 30000;
        while (!process && ::GetTickCount64() < end) {
            ::Sleep(20);
            const auto calls = ReadTranscript().With("call", "create");
            if (!calls.empty()) {
                process.Reset(::OpenProcess(PROCESS_ALL_ACCESS, FALSE,
                                            static_cast<DWORD>(calls[0].Number("pid"))));
            }
        }
        go.Set();
        EXPECT_TRUE(process) << "the library wasn't created";
        ::WaitForSingleObject(process.Get(), 30000);
        DWORD exitCode = 0;
        ::GetExitCodeProcess(process.Get(), &exitCode);
        EXPECT_EQ(exitCode, code);
        ::WaitForSingleObject(starter.Get(), INFINITE);
    }

    void Judge(std::uint32_t code, const std::vector<std::filesystem::path>& logs,
               const std::filesystem::path& dumpFile) const {
        const auto crashes = ReadTranscript().With("action", "crash");
        ASSERT_EQ(crashes.size(), 1U) << "the exception came back, or never came";
        const std::uint64_t thread = crashes[0].Number("tid");
        const Records heap =
            code == test::HeapCorruption
                ? Records{test::E(L"VectoredExceptionProcessing occured for heap corruption")}
                : Records{};
        EXPECT_EQ(CrashRecordsOf(logs),
                  Join({heap, test::PassBegins(thread), test::DumpWritten(thread, dumpFile)}));
        ASSERT_TRUE(std::filesystem::exists(dumpFile));
        const test::Minidump dump = test::ReadMinidump(dumpFile);
        EXPECT_EQ(dump.exceptionCode, code);
        EXPECT_EQ(dump.exceptionThread, thread);
        std::filesystem::remove(dumpFile);
    }

    [[nodiscard]] test::Transcript ReadTranscript() const {
        const std::filesystem::path file = run_.Host().Path() / transcript_;
        return test::Transcript(std::filesystem::exists(file) ? test::ReadBytes(file) : "");
    }

    CrashRun run_;
    test::Service service_{run_.Host()};
    std::size_t row_ = 0;
    std::string transcript_;
};

std::size_t NumberOf(const Place& place) {
    std::size_t number = 0;
    while (Places[number].name != place.name) {
        ++number;
    }
    return number;
}

TEST_P(Floor, HoldsEachCode) {
    const char* const longTests = std::getenv("TARNWICK_LONG_TESTS");
    const bool all = longTests != nullptr && std::string(longTests) == "1";
    const std::size_t place = NumberOf(GetParam());
    std::size_t played = 0;
    for (std::size_t row = 0; row < 2 * CodeCount; ++row) {
        // 34 rows distributed to 14 places.
        if (all || row % PlaceCount == place) {
            Play(Codes[row / 2], row % 2 == 0);
            ++played;
        }
    }
    std::cout << played << " of " << 2 * CodeCount << " rows\n";
    EXPECT_GE(played, 2U);
}

INSTANTIATE_TEST_SUITE_P(Places, Floor, ::testing::ValuesIn(Places), test::RowName<Place>);

}  // namespace
