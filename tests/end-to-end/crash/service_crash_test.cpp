// Crashes of a service: what the Service Control Manager shows, and that a restart works.

#include <gtest/gtest.h>

#include <string>

#include "tests/end-to-end/crash/crash_run.h"
#include "tests/end-to-end/crash/minidump_reader.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/end-to-end/support/service.h"

namespace {

using test::AccessViolation;
using test::CrashRun;
using test::Join;

struct ServiceCrash {
    const char* name;
    const char* script;  ///< GO is replaced by the name of the event that triggers the crash
    bool onStop;         ///< a stop triggers the crash instead
    std::uint32_t code;
};

void PrintTo(const ServiceCrash& crash, std::ostream* out) {
    *out << crash.name;
}

std::string WithEventName(std::string script, const std::string& name) {
    for (std::size_t place = 0; (place = script.find("GO", place)) != std::string::npos;) {
        script.replace(place, 2, name);
        place += name.size();
    }
    return script;
}

/// A service may use another machine-wide data folder than the test, so read its log.
std::filesystem::path DumpFileOf(const test::Service& service) {
    return service.Logs().at(0).parent_path().parent_path() / L"tarnwick-service.exe.dmp";
}

class CrashedService : public ::testing::TestWithParam<ServiceCrash> {};

TEST_P(CrashedService, IsDumpedShownAsStoppedAndCanBeRestarted) {
    if (!test::HasFilterFrame && std::string(GetParam().name) == "CppExceptionInFree") {
        GTEST_SKIP() << "a host built by GCC has no filter frame";
    }
    const CrashRun run;
    const test::SharedEvent go(run.Host(), "go");
    run.Script(WithEventName(GetParam().script, go.Name()));
    test::Service service(run.Host());
    ASSERT_EQ(service.Start(), 0U);
    service.WaitFor(SERVICE_RUNNING);
    const std::filesystem::path dumpFile = DumpFileOf(service);
    std::filesystem::remove(dumpFile);
    if (GetParam().onStop) {
        ASSERT_TRUE(go.Wait()) << "the library didn't ask for the stop permission";
        // Whether the control call fails depends on the progress of the process.
        static_cast<void>(service.Control(SERVICE_CONTROL_STOP));
    } else {
        go.Set();
    }

    EXPECT_EQ(service.WaitForExit(), GetParam().code);
    const std::uint64_t thread = run.CrashingThread();
    ASSERT_EQ(service.Logs().size(), 1U);
    EXPECT_EQ(service.Logs().at(0).extension(), L".log");
    EXPECT_EQ(test::OfTheCrash(service.OnlyLog()),
              Join({test::PassBegins(thread), test::DumpWritten(thread, dumpFile)}));
    const test::Minidump dump = test::ReadMinidump(dumpFile);
    EXPECT_EQ(dump.exceptionCode, GetParam().code);
    EXPECT_EQ(dump.exceptionThread, thread);
    EXPECT_TRUE(dump.HasModule(run.Host().Executable()));
    // Wine's manager still shows the last report of a process that has ended.
    if (!test::OnWine()) {
        service.WaitFor(SERVICE_STOPPED);
    }

    const test::SharedEvent active(run.Host(), "active");
    run.Script("on activate set-event " + active.Name() + "\n");
    ASSERT_EQ(service.Start(), 0U);
    EXPECT_TRUE(active.Wait());
    service.WaitFor(SERVICE_RUNNING);
    std::filesystem::remove(dumpFile);
}

INSTANTIATE_TEST_SUITE_P(
    Places, CrashedService,
    ::testing::Values(
        ServiceCrash{"LoadAddons", "on load wait-event GO 30000\non load crash read\n", false,
                     AccessViolation},
        ServiceCrash{"CppExceptionInActivate",
                     "on activate wait-event GO 30000\non activate crash cpp\n", false,
                     test::CppException},
        ServiceCrash{"LibraryThread", "on activate when-event GO crash write\n", false,
                     AccessViolation},
        ServiceCrash{"NotifyOnStop",
                     "on load register\non activate enable-stop\non activate set-event GO\n"
                     "on notify crash divide\n",
                     true, test::DivisionByZero},
        ServiceCrash{"Deactivate",
                     "on load register\non activate enable-stop\non activate set-event GO\n"
                     "on deactivate crash illegal\n",
                     true, test::IllegalInstruction},
        ServiceCrash{"Free",
                     "on load register\non activate enable-stop\non activate set-event GO\n"
                     "on free crash raise 0xE0001234\n",
                     true, 0xE0001234},
        ServiceCrash{"CppExceptionInFree",
                     "on load register\non activate enable-stop\non activate set-event GO\n"
                     "on free crash cpp\n",
                     true, test::CppException}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
