#include "tests/faults/scenarios.h"

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "framework/logger/logger.h"
#include "tests/faults/fault_plan.h"
#include "tests/faults/played_calls.h"
#include "tests/faults/played_controller.h"

/// The product's entry point, renamed when compiled for this program.
int ProductMain(int argc, wchar_t* argv[]);

namespace faults {
namespace {

constexpr const wchar_t* ServiceKey =
    L"SYSTEM\\CurrentControlSet\\Services\\VelmoraTarnwickService";

/// The product reads its settings from a separate key of this program with the default values, so
/// that the calls that read them succeed.
void ProvideSettings() {
    HKEY machine = nullptr;
    HKEY service = nullptr;
    ::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\tarnwick-fault-tests", 0, nullptr,
                      REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &machine, nullptr);
    ::RegCreateKeyExW(machine, ServiceKey, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                      &service, nullptr);
    const DWORD levels = 7;
    ::RegSetValueExW(service, L"TraceLevelsMask", 0, REG_DWORD,
                     reinterpret_cast<const BYTE*>(&levels), sizeof(levels));
    ::RegCloseKey(service);
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
}

/// Whether the window opens with the entry point, or the scenario opens it later.
enum class Window { Opens, OpensLater };

int RunProduct(const std::wstring& folder, std::vector<std::wstring> options,
               Window window = Window::Opens) {
    auto own = std::make_unique<OwnAllocations>();
    ProvideSettings();
    ::SetEnvironmentVariableW(L"ALLUSERSPROFILE", folder.c_str());
    options.insert(options.begin(), L"tarnwick-service.exe");
    std::vector<wchar_t*> arguments;
    for (std::wstring& option : options) {
        arguments.push_back(option.data());
    }
    arguments.push_back(nullptr);
    own.reset();
    if (window == Window::Opens) {
        OpenWindow();
    }
    return ProductMain(static_cast<int>(options.size()), arguments.data());
}

framework::LoggerConfig SmallFiles(const std::wstring& folder) {
    framework::LoggerConfig config;
    config.ComponentName = L"quillon";
    config.LogDirectory = folder + L'\\';
    config.FilePrefix = L"quillon";
    config.BuildNumber = 804;
    config.MaxFileSize = 1500;
    config.TraceLevelsMask = 7;
    config.LogToFile = true;
    config.ExpiredPeriodInDays = 70;
    return config;
}

std::uint32_t OpenHandles() {
    DWORD count = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &count);
    return count;
}

/// An old log file, with the data that retention uses: a name, a size and an age.
void MakeOldFile(const std::wstring& folder, const std::wstring& name, std::uint32_t days,
                 std::uint32_t size) {
    constexpr std::uint64_t TicksOfADay = 864000000000;
    const HANDLE file = ::CreateFileW((folder + L'\\' + name).c_str(), GENERIC_WRITE, 0, nullptr,
                                      CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    const std::string bytes(size, 'x');
    DWORD written = 0;
    ::WriteFile(file, bytes.data(), size, &written, nullptr);
    FILETIME time = {};
    ::GetSystemTimeAsFileTime(&time);
    ULARGE_INTEGER ticks = {};
    ticks.LowPart = time.dwLowDateTime;
    ticks.HighPart = time.dwHighDateTime;
    ticks.QuadPart -= days * TicksOfADay;
    time = {ticks.LowPart, ticks.HighPart};
    ::SetFileTime(file, &time, nullptr, &time);
    ::CloseHandle(file);
}

/// Logs a numbered record. A caller that survives a failed allocation continues with the next one.
void LogNumbered(std::uint32_t number) {
    RunRecord& record = Record();
    try {
        framework::Logger::Instance().Log(4, L"T", nullptr, L"file", __LINE__, L"function", L"%s%u",
                                          NumberedText, number);
    } catch (const std::bad_alloc&) {
        record.thrownRecords |= std::uint64_t{1} << number;
    }
    ++record.acceptedRecords;
}

/// With `--memory` the window opens after the start of the logger, because a failed allocation in
/// it ends the product.
int RunLogger(const framework::LoggerConfig& config, std::uint32_t records) {
    if (!CountsAllocations()) {
        OpenWindow();
    }
    framework::Logger& logger = framework::Logger::Instance();
    logger.Configure(config);
    logger.WriteHeader();
    OpenWindow();
    for (std::uint32_t number = 1; number <= records; ++number) {
        LogNumbered(number);
    }
    logger.Flush();
    // The run of retention at the end is skipped while one is in progress.
    AwaitProductThreads();
    Record().openHandles = OpenHandles();
    return 0;
}

int Start(const std::wstring& folder) {
    return RunProduct(folder, {});
}

int Stop(const std::wstring& folder) {
    OpenWindowAtStop();
    return RunProduct(folder, {}, Window::OpensLater);
}

int Console(const std::wstring& folder) {
    StartAdministrator();
    return RunProduct(folder, {L"-run"});
}

int Crash(const std::wstring& folder) {
    CrashWhenActivated();
    return RunProduct(folder, {L"-run"}, Window::OpensLater);
}

int Dump(const std::wstring& folder) {
    return RunProduct(folder, {L"-dump", std::to_wstring(::GetCurrentProcessId()),
                               std::to_wstring(::GetCurrentThreadId()), L"0"});
}

int Usage(const std::wstring& folder) {
    return RunProduct(folder, {L"run"});
}

int Unpack(const std::wstring& folder) {
    return RunProduct(folder, {L"-zevrunzip"});
}

int Rotation(const std::wstring& folder) {
    constexpr std::uint32_t Records = 30;
    framework::LoggerConfig config = SmallFiles(folder);
    config.CompressRotatedLogs = true;
    config.DisableLogRetention = true;
    return RunLogger(config, Records);
}

int Retention(const std::wstring& folder) {
    constexpr std::uint32_t Records = 16;
    MakeOldFile(folder, L"expired-1.log", 80, 100);
    MakeOldFile(folder, L"expired-2.log", 71, 100);
    MakeOldFile(folder, L"excess-1.log", 60, 9000);
    MakeOldFile(folder, L"excess-2.log", 50, 9000);
    MakeOldFile(folder, L"kept-1.log", 20, 2000);
    MakeOldFile(folder, L"kept-2.log", 10, 2000);
    framework::LoggerConfig config = SmallFiles(folder);
    config.CompressRotatedLogs = false;
    config.MaxLogFilesSize = 12000;
    return RunLogger(config, Records);
}

}  // namespace

int RunScenario(const std::wstring& name, const std::wstring& folder) {
    struct Scenario {
        const wchar_t* name;
        int (*run)(const std::wstring& folder);
    };
    constexpr Scenario Scenarios[] = {
        {L"start", Start},   {L"stop", Stop},         {L"console", Console},
        {L"crash", Crash},   {L"dump", Dump},         {L"usage", Usage},
        {L"unpack", Unpack}, {L"rotation", Rotation}, {L"retention", Retention}};
    SetProgramFolder(folder);
    for (const Scenario& scenario : Scenarios) {
        if (name == scenario.name) {
            return scenario.run(folder);
        }
    }
    return -1;
}

}  // namespace faults
