#include "tarnwick-service/start_up.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <ostream>

#include "tests/support/child_process.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"
#include "tests/tarnwick-service/console_capture.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "version/version.h"

namespace tarnwick {
namespace {

using test::Lines;
using test::TraceLine;
using Events = std::vector<std::wstring>;

constexpr const wchar_t* ServiceKey =
    L"SYSTEM\\CurrentControlSet\\Services\\VelmoraTarnwickService";

TEST(LoggerConfigOfTheService, FieldByField) {
    for (const bool logConsole : {false, true}) {
        const framework::LoggerConfig config = MakeLoggerConfig(logConsole);
        EXPECT_EQ(config.ComponentName, L"quillon");
        EXPECT_EQ(config.LogDirectory, L"%ALLUSERSPROFILE%\\Velmora\\Quillon\\Logs\\");
        EXPECT_EQ(config.FilePrefix, L"quillon");
        EXPECT_EQ(config.BuildNumber, version::BuildNumber);
        EXPECT_EQ(config.MaxFileSize, 5242880U);
        EXPECT_EQ(config.TraceLevelsMask, 7U);
        EXPECT_EQ(config.LogToFile, !logConsole);
        EXPECT_EQ(config.LogToConsole, logConsole);
        EXPECT_FALSE(config.LogToDebugger);
        EXPECT_TRUE(config.RecordFlag);
        EXPECT_FALSE(config.RecordSourceLocation);
        EXPECT_FALSE(config.DisableLogRetention);
        EXPECT_TRUE(config.CompressRotatedLogs);
        EXPECT_EQ(config.ExpiredPeriodInDays, 70U);
        EXPECT_EQ(config.MaxLogFilesSize, 26214400U);
    }
}

TEST(LoggerSettingsSourceOfTheService, ReadsAllFourValues) {
    const framework::LoggerSettingsSource source = MakeLoggerSettingsSource();
    EXPECT_TRUE(source.ReadTraceLevelsMask);
    EXPECT_TRUE(source.ReadExpiredPeriodInDays);
    EXPECT_TRUE(source.ReadMaxLogFilesSize);
    EXPECT_TRUE(source.ReadDisableLogRetention);
    EXPECT_EQ(source.RegistryKey, ServiceKey);
}

TEST(ServiceDescriptorOfTheService, FieldByField) {
    const ServiceDescriptor descriptor = MakeServiceDescriptor();
    EXPECT_STREQ(descriptor.serviceName, L"VelmoraTarnwickService");
    EXPECT_EQ(descriptor.canStop, 0);
    EXPECT_EQ(descriptor.canShutdown, 1);
    EXPECT_EQ(descriptor.canPause, 0);
    EXPECT_STREQ(descriptor.serviceKeyPath, ServiceKey);
}

TEST(Usage, IsPrintedLetterByLetter) {
    const test::ConsoleCapture console;
    PrintUsage();
    EXPECT_EQ(
        console.Text(),
        "Start options:\n"
        " -run               to run as application \n"
        " -dump <processIdStr> <threadIdStr> <exceptionInformationStr> to to create dump of "
        "specified process\n"
        " -zevrunzip         to upzip zevr archive into {rootpath}\n"
        "Optional parameters:\n"
        " -sleep <seconds>   time to sleep before starting Keldane (can be used for connecting to "
        "process for debugging purposes) \n"
        " -test              run probe-plain.exe to trigger OAS callback (for debugging purposes) "
        "\n"
        " -log-console       enable log to console instead of file \n");
}

struct SleepCase {
    std::uint32_t seconds;
    std::vector<DWORD> sleeps;
};

void PrintTo(const SleepCase& value, std::ostream* out) {
    *out << value.seconds << " seconds";
}

class SleepBefore : public testing::TestWithParam<SleepCase> {};

// The product wraps at 32 bits.
INSTANTIATE_TEST_SUITE_P(Counts, SleepBefore,
                         testing::Values(SleepCase{0, {}}, SleepCase{1, {1000}},
                                         SleepCase{5, {5000}}, SleepCase{4294967, {4294967000}},
                                         SleepCase{4294968, {704}},
                                         SleepCase{4294967295, {4294966296}},
                                         SleepCase{2147483647, {4294966296}},
                                         SleepCase{2147483648, {0}}));

TEST_P(SleepBefore, SleepsOnceForThe32BitProductAndNotAtAllForZero) {
    std::vector<DWORD> sleeps;
    const test::ScopedHook<test::SleepHook> hook(
        [&](DWORD lengthMs) { sleeps.push_back(lengthMs); });
    SleepBeforeStart(GetParam().seconds);
    EXPECT_EQ(sleeps, GetParam().sleeps);
}

TEST(Parameters, AreLoggedWithTheirCountAndTheProgramFirst) {
    const test::LogCapture log;
    const wchar_t* const arguments[] = {L"C:\\a b%%c\\tarnwick-service.exe", L"-run", L"100%s %n",
                                        L"", nullptr};
    LogParameters(4, arguments);
    EXPECT_EQ(log.Lines(),
              (Lines{TraceLine(L"Start paramers cnt = 4 "),
                     TraceLine(L"Parameter 0 = C:\\a b%%c\\tarnwick-service.exe"),
                     TraceLine(L"Parameter 1 = -run"), TraceLine(L"Parameter 2 = 100%s %n"),
                     TraceLine(L"Parameter 3 = ")}));
}

TEST(Parameters, None_LeavesTheCountAlone) {
    const test::LogCapture log;
    LogParameters(0, nullptr);
    EXPECT_EQ(log.Lines(), Lines{TraceLine(L"Start paramers cnt = 0 ")});
}

/// Sets an environment variable during its lifetime.
class ScopedVariable {
  public:
    ScopedVariable(const wchar_t* name, const std::wstring& value) : name_(name) {
        wchar_t before[MAX_PATH] = {};
        ::GetEnvironmentVariableW(name, before, MAX_PATH);
        before_ = before;
        ::SetEnvironmentVariableW(name, value.c_str());
    }
    ~ScopedVariable() { ::SetEnvironmentVariableW(name_, before_.c_str()); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

  private:
    const wchar_t* name_;
    std::wstring before_;
};

/// The common start-up with its own machine-wide data folder and registry.
class StartUp : public testing::Test {
  protected:
    void TearDown() override { UndoStartUp(); }

    [[nodiscard]] std::filesystem::path DataFolder() const {
        return profile.Path() / L"Velmora" / L"Quillon";
    }
    [[nodiscard]] Lines LogLines() const {
        Lines names;
        for (const auto& entry : std::filesystem::directory_iterator(DataFolder() / L"Logs")) {
            names.push_back(entry.path().wstring());
        }
        EXPECT_EQ(names.size(), 1U);
        return names.empty() ? Lines{} : test::SplitRecords(test::ReadLogText(names.front()));
    }

    test::ScratchFolder profile;
    ScopedVariable variable{L"ALLUSERSPROFILE", profile.Path().wstring()};
    std::map<std::wstring, DWORD> values;
    Events registryEvents;
    const HKEY key = reinterpret_cast<HKEY>(std::uintptr_t{0x7777});
    test::ScopedHook<test::RegOpenKeyWHook> openHook{
        [this](HKEY root, const wchar_t* path, HKEY* opened) -> LONG {
            EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
            EXPECT_STREQ(path, ServiceKey);
            registryEvents.emplace_back(L"open");
            *opened = key;
            return ERROR_SUCCESS;
        }};
    test::ScopedHook<test::RegQueryValueExWHook> queryHook{[this](HKEY opened, const wchar_t* name,
                                                                  DWORD*, DWORD* type, BYTE* data,
                                                                  DWORD* size) -> LONG {
        EXPECT_EQ(opened, key);
        registryEvents.emplace_back(name);
        const auto value = values.find(name);
        if (value == values.end()) {
            return ERROR_FILE_NOT_FOUND;
        }
        *type = REG_DWORD;
        std::memcpy(data, &value->second, sizeof(DWORD));
        *size = sizeof(DWORD);
        return ERROR_SUCCESS;
    }};
    test::ScopedHook<test::RegCloseKeyHook> regCloseHook{[this](HKEY closed) -> LONG {
        EXPECT_EQ(closed, key);
        registryEvents.emplace_back(L"close");
        return ERROR_SUCCESS;
    }};
    test::FreshLogger logger;
};

TEST_F(StartUp, WholeStartUpAndExit_LeaveTheirLinesInOrder) {
    const wchar_t* const arguments[] = {L"program.exe", L"-run", nullptr};
    StartLogging(false);
    InstallExceptionFilter();
    LogParameters(2, arguments);
    UndoStartUp();
    Lines lines = LogLines();
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[0], TraceLine(L"build: " + std::to_wstring(version::BuildNumber) +
                                  L", process: " + std::to_wstring(::GetCurrentProcessId()) +
                                  L", '" + test::OwnPath().wstring() + L"'"));
    EXPECT_EQ(lines[1].substr(lines[1].size() - 4), L" UTC");
    EXPECT_EQ(lines[2].substr(lines[2].size() - 6), L" LOCAL");
    EXPECT_EQ(Lines(lines.begin() + 3, lines.end()),
              (Lines{TraceLine(L"ExceptionFilter was created"),
                     TraceLine(L"Start paramers cnt = 2 "), TraceLine(L"Parameter 0 = program.exe"),
                     TraceLine(L"Parameter 1 = -run"), TraceLine(L"ExceptionFilter was removed")}));
}

TEST_F(StartUp, Registry_IsReadValueByValueWithDumpTypeLast) {
    StartLogging(false);
    EXPECT_EQ(registryEvents, (Events{L"open", L"TraceLevelsMask", L"close", L"open",
                                      L"ExpiredPeriodInDays", L"close", L"open", L"MaxLogFilesSize",
                                      L"close", L"open", L"DisableLogRetention", L"close"}));
    registryEvents.clear();
    InstallExceptionFilter();
    EXPECT_EQ(registryEvents, (Events{L"open", L"DumpType", L"close"}));
}

TEST_F(StartUp, TraceLevelsMaskOfTheRegistry_Counts) {
    values[L"TraceLevelsMask"] = 1;
    StartLogging(false);
    InstallExceptionFilter();
    EXPECT_EQ(LogLines(), Lines{});
}

TEST_F(StartUp, Slots_HoldTheirObjectsUntilTheExit) {
    EXPECT_EQ(loggerSettingsSlot, nullptr);
    EXPECT_EQ(exceptionFilterSlot, nullptr);
    StartLogging(false);
    EXPECT_NE(loggerSettingsSlot, nullptr);
    EXPECT_EQ(exceptionFilterSlot, nullptr);
    InstallExceptionFilter();
    EXPECT_NE(exceptionFilterSlot, nullptr);
    UndoStartUp();
    EXPECT_EQ(loggerSettingsSlot, nullptr);
    EXPECT_EQ(exceptionFilterSlot, nullptr);
}

TEST_F(StartUp, EmptySettingsSlot_DoesNotEndLogging) {
    StartLogging(false);
    UndoStartUp();
    const wchar_t* const arguments[] = {nullptr};
    LogParameters(0, arguments);
    EXPECT_EQ(LogLines().back(), TraceLine(L"Start paramers cnt = 0 "));
}

TEST_F(StartUp, LogConsole_MovesTheLogAndMakesNoDirectory) {
    const test::ConsoleCapture console;
    StartLogging(true);
    InstallExceptionFilter();
    UndoStartUp();
    const std::string text = console.Text();
    EXPECT_NE(
        text.find("][T][quillon] build: " + std::to_string(version::BuildNumber) + ", process: "),
        std::string::npos);
    EXPECT_NE(text.find("][T][quillon] ExceptionFilter was created\n"), std::string::npos);
    EXPECT_NE(text.find("][T][quillon] ExceptionFilter was removed\n"), std::string::npos);
    EXPECT_TRUE(profile.Names().empty());
}

/// A crash up to its end: the path and contents of the dump, and the exit code of the process.
struct Crash {
    std::wstring path;
    MINIDUMP_TYPE type = MiniDumpNormal;
    std::vector<UINT> exitCodes;
};

Crash PretendToCrash() {
    Crash crash;
    const test::ScopedHook<test::CreateFileWHook> createHook(
        [&](const wchar_t* path, auto... rest) {
            crash.path = path;
            return test::CreateFileWHook::Real(path, rest...);
        });
    const test::ScopedHook<test::MiniDumpWriteDumpHook> dumpHook(
        [&](HANDLE, DWORD, HANDLE, MINIDUMP_TYPE type, auto...) -> BOOL {
            crash.type = type;
            return TRUE;
        });
    const test::ScopedHook<test::TerminateProcessHook> terminateHook(
        [&](HANDLE, UINT exitCode) -> BOOL {
            crash.exitCodes.push_back(exitCode);
            return TRUE;
        });
    const test::ScopedHook<test::CreateProcessWHook> noChild([](auto...) {
        ADD_FAILURE() << "no dumper process is to be started";
        return FALSE;
    });
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = 0xE0001234;
    EXCEPTION_POINTERS pointers = {&record, nullptr};
    framework::ExceptionFilter::ExceptionProcessing(&pointers);
    return crash;
}

TEST_F(StartUp, ExceptionFilter_GetsTheDumpPathAndTheTypeOfTheRegistry) {
    values[L"DumpType"] = 0x1002;
    StartLogging(false);
    InstallExceptionFilter();
    const Crash crash = PretendToCrash();
    EXPECT_EQ(crash.path, (DataFolder() / L"tarnwick-service.exe.dmp").wstring());
    EXPECT_EQ(crash.type, 0x1002);
    EXPECT_EQ(crash.exitCodes, std::vector<UINT>{0xE0001234});
}

TEST_F(StartUp, DumpPathThatCannotBeExpanded_LeavesThePlaceBesideTheExecutable) {
    StartLogging(false);
    {
        const test::ScopedHook<test::ExpandEnvironmentStringsWHook> hook(
            [](auto...) -> DWORD { return 0; });
        InstallExceptionFilter();
    }
    const std::wstring program = (profile.Path() / L"program.exe").wstring();
    const test::ScopedHook<test::GetModuleFileNameWHook> nameHook(
        [&](HMODULE, wchar_t* path, DWORD size) {
            path[program.copy(path, size - 1)] = 0;
            return static_cast<DWORD>(program.size());
        });
    EXPECT_EQ(PretendToCrash().path, program + L".dmp");
}

TEST_F(StartUp, WithoutADumpType_TheDumpIsANormalOne) {
    StartLogging(false);
    InstallExceptionFilter();
    EXPECT_EQ(PretendToCrash().type, MiniDumpNormal);
}

TEST_F(StartUp, FilterOfTheProcess_IsSetAndBroughtBack) {
    const LPTOP_LEVEL_EXCEPTION_FILTER before = ::SetUnhandledExceptionFilter(nullptr);
    ::SetUnhandledExceptionFilter(before);
    StartLogging(false);
    InstallExceptionFilter();
    const LPTOP_LEVEL_EXCEPTION_FILTER during = ::SetUnhandledExceptionFilter(nullptr);
    ::SetUnhandledExceptionFilter(during);
    EXPECT_EQ(during, &framework::ExceptionFilter::ExceptionProcessing);
    UndoStartUp();
    const LPTOP_LEVEL_EXCEPTION_FILTER after = ::SetUnhandledExceptionFilter(before);
    EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace tarnwick
