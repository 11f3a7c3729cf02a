// A library that ends the process itself: its exit code, no dump, no hang. `ExitProcess` runs none
// of the host's exit handlers: the log ends where it was. `exit` of the C run-time library, which
// the host and a library built with MinGW share, runs them: the log is ended and compressed.

#include <gmock/gmock.h>

#include <string>

#include "tests/end-to-end/crash/crash_run.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/end-to-end/support/row_name.h"
#include "tests/end-to-end/support/service.h"

namespace {

using test::CrashRun;
using test::Records;
using test::T;

struct Place {
    const char* name;
    const wchar_t* arguments;  ///< null: a service
    const char* script;        ///< EXIT stands for the action
};

void PrintTo(const Place& place, std::ostream* out) {
    *out << place.name;
}

class LibraryThatEndsTheProcess : public ::testing::TestWithParam<Place> {
  protected:
    /// The files of the log, after the end with code 7.
    std::vector<std::filesystem::path> LogsOfARun(const std::string& action) {
        std::string script = GetParam().script;
        script.replace(script.find("EXIT"), 4, action);
        run_.Script(script);
        if (GetParam().arguments != nullptr) {
            EXPECT_EQ(run_.Run(GetParam().arguments), 7U);
            return test::LogFilesIn(run_.Host().Logs());
        }
        EXPECT_EQ(service_.Start(), 0U);
        EXPECT_EQ(service_.WaitForExit(), 7U);
        return service_.Logs();
    }

    CrashRun run_;
    test::Service service_{run_.Host()};
};

TEST_P(LibraryThatEndsTheProcess, ByExitProcess_LeavesTheLogAsItIs) {
    const auto logs = LogsOfARun("exit 7");
    ASSERT_EQ(logs.size(), 1U);
    EXPECT_EQ(logs[0].extension(), L".log");
    const Records records = test::ReadLogRecords(logs[0]);
    EXPECT_THAT(records, ::testing::Contains(T(L"ExceptionFilter was created")));
    EXPECT_THAT(records, ::testing::Not(::testing::Contains(T(L"End"))));
    EXPECT_EQ(test::FromCrashOn(records), Records());
    EXPECT_EQ(run_.DumpCount(), 0U);
}

TEST_P(LibraryThatEndsTheProcess, ByTheRunTimeLibrary_EndsTheLog) {
    const auto logs = LogsOfARun("exit 7 run-time");
    ASSERT_EQ(logs.size(), 1U);
    EXPECT_EQ(logs[0].extension(), L".gz");
    const Records records = test::ReadLogRecords(logs[0]);
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.back(), T(L"End"));
    EXPECT_EQ(test::FromCrashOn(records), Records());
    EXPECT_EQ(run_.DumpCount(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Places, LibraryThatEndsTheProcess,
    ::testing::Values(Place{"CreateCall", L"-run", "on create EXIT\n"},
                      Place{"LoadCall", L"-run", "on load EXIT\n"},
                      Place{"UnpackJob", L"-zevrunzip", "on bootstrap EXIT\n"},
                      Place{"LibraryThread", L"-run",
                            "on load detached-thread EXIT\n"
                            "on load wait-event Local\\tarnwick-test-never 60000\n"},
                      Place{"LogicThreadOfAService", nullptr, "on load EXIT\n"}),
    test::RowName<Place>);

}  // namespace
