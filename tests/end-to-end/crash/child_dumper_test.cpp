// A new process of the executable writes the dump. No setting enables this, so the test's own
// process installs the filter with that flag.

#include <gtest/gtest.h>

#include <string>

#include "framework/exception/exception_filter.h"
#include "framework/logger/logger.h"
#include "tests/end-to-end/crash/crash_run.h"
#include "tests/end-to-end/crash/minidump_reader.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"

namespace {

constexpr DWORD Code = 0xE0005678;

/// Crashes as if it were the executable of the first argument.
int CrashWithDumper(const std::vector<std::wstring>& arguments) {
    const std::wstring& executable = arguments.at(0);
    framework::LoggerConfig config = test::QuietConfig();
    config.LogDirectory = arguments.at(1);
    config.LogToFile = true;
    framework::Logger::Instance().Configure(std::move(config));
    const test::ScopedHook<test::GetModuleFileNameWHook> hook(
        [&](HMODULE /*module*/, wchar_t* buffer, DWORD /*size*/) -> DWORD {
            buffer[executable.copy(buffer, executable.size())] = 0;
            return static_cast<DWORD>(executable.size());
        });
    const framework::ExceptionFilter filter({nullptr, nullptr, 1, L"unused.dmp", 0});
    ::RaiseException(Code, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    return 0;
}
const test::ChildRoutine crashWithDumper(L"crash-with-dumper", CrashWithDumper);

TEST(ChildDumper, InAFolderWithBlanks_DumpsTheCrashedProcessFromOutside) {
    test::CrashRun run(L"a b  c");
    run.Script("");
    const std::filesystem::path ownLogs = run.Host().Path() / L"own-logs";
    test::ChildOptions options;
    options.environment[L"ALLUSERSPROFILE"] = run.Host().DataFolder().wstring();
    test::Child crashed(
        test::SelfCommandLine(L"crash-with-dumper",
                              {run.Host().Executable().wstring(), ownLogs.wstring() + L"\\\\"}),
        options);
    EXPECT_EQ(crashed.Wait(), Code);

    const test::Minidump dump = test::ReadMinidump(run.DumpFile());
    EXPECT_EQ(dump.exceptionCode, Code);
    EXPECT_TRUE(dump.HasThread(dump.exceptionThread));
    EXPECT_TRUE(dump.HasModule(test::OwnPath()));

    // The crashed process doesn't log the dump; the dumper, an ordinary run, does.
    const auto ownFiles = test::LogFilesIn(ownLogs);
    ASSERT_EQ(ownFiles.size(), 1U);
    using test::T;
    EXPECT_EQ(
        test::FromCrashOn(test::ReadLogRecords(ownFiles[0])),
        test::Join(
            {test::PassBegins(dump.exceptionThread),
             {T(test::FilterText(dump.exceptionThread, L"start dump creation")),
              T(test::FilterText(dump.exceptionThread, L"successfully finish dump creation"))}}));
    const test::Records log = run.Host().OnlyLog();
    ASSERT_EQ(log.size(), 13U);
    EXPECT_EQ(log[4], T(L"Start paramers cnt = 5 "));
    EXPECT_EQ(log[5], T(L"Parameter 0 = " + run.Host().Executable().wstring()));
    EXPECT_EQ(log[6], T(L"Parameter 1 = -dump"));
    EXPECT_EQ(log[7], T(L"Parameter 2 = " + std::to_wstring(crashed.ProcessId())));
    EXPECT_EQ(log[8], T(L"Parameter 3 = " + std::to_wstring(dump.exceptionThread)));
    EXPECT_EQ(log[9].size(), T(L"Parameter 4 = 0123456789ABCDEF").size());
    EXPECT_EQ(log[10], T(L"Minidump written to " + run.DumpFile().wstring()));
}

}  // namespace
