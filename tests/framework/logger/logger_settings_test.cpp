#include "framework/logger/logger_settings.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "framework/logger/internal_trace.h"
#include "framework/logger/logger.h"
#include "tests/framework/system/scratch_key.h"
#include "tests/support/debugger_channel.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"

namespace framework {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::TestWithParam;
using ::testing::ValuesIn;

constexpr std::uint64_t TicksOfADay = 864000000000;

/// Starts the logger with its settings, in a separate folder named by an environment variable, and
/// shuts it down.
class LoggerSettingsTest : public ::testing::Test {
  protected:
    LoggerSettingsTest() {
        ::SetEnvironmentVariableW(L"TARNWICK_TEST_FOLDER", folder_.Path().c_str());
    }
    ~LoggerSettingsTest() override { ::SetEnvironmentVariableW(L"TARNWICK_TEST_FOLDER", nullptr); }

    [[nodiscard]] LoggerSettingsSource AllValues() const {
        return {true, true, true, true, key_.Path()};
    }

    static LoggerConfig FileConfig() {
        LoggerConfig config = test::QuietConfig();
        config.LogDirectory = L"%TARNWICK_TEST_FOLDER%\\logs\\";
        config.TraceLevelsMask = 7;
        config.LogToFile = true;
        return config;
    }

    /// The same without a file, for tests of the mask or of retention only.
    static LoggerConfig NoFileConfig() {
        LoggerConfig config = FileConfig();
        config.LogToFile = false;
        return config;
    }

    [[nodiscard]] std::filesystem::path LogFolder() const { return folder_.Path() / L"logs"; }

    [[nodiscard]] std::filesystem::path OnlyFile() const {
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator(LogFolder())) {
            files.push_back(entry.path());
        }
        EXPECT_EQ(files.size(), 1U);
        return files.empty() ? std::filesystem::path() : files.front();
    }

    /// The records of the only file, each without its time.
    [[nodiscard]] std::vector<std::wstring> Records() const {
        return test::SplitRecords(test::ReadLogText(OnlyFile()));
    }

    test::ScratchKey key_;

  private:
    test::ScratchFolder folder_;
    test::FreshLogger logger_;
};

/// Which of the four usual levels pass, as a mask.
std::uint32_t PassingLevels() {
    std::uint32_t mask = 0;
    for (const std::uint32_t bit : {1U, 2U, 4U, 8U, 0x80000000U}) {
        mask |= Logger::Passes(bit) ? bit : 0;
    }
    return mask;
}

// Registry

/// Every call that the settings make, in order.
class SettingsCalls : public LoggerSettingsTest {
  protected:
    std::vector<std::wstring> CallsOf(LoggerConfig config, const LoggerSettingsSource* source) {
        std::vector<std::wstring> calls;
        const HKEY fakeKey = reinterpret_cast<HKEY>(std::uintptr_t{0x5150});
        const test::ScopedHook<test::RegOpenKeyWHook> open(
            [&](HKEY root, const wchar_t* path, HKEY* key) -> LSTATUS {
                EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
                calls.push_back(std::wstring(L"open ") + path);
                *key = fakeKey;
                return ERROR_SUCCESS;
            });
        const test::ScopedHook<test::RegOpenKeyExWHook> openEx([&](auto...) -> LSTATUS {
            calls.emplace_back(L"RegOpenKeyExW");
            return ERROR_ACCESS_DENIED;
        });
        const test::ScopedHook<test::RegQueryValueExWHook> query(
            [&](HKEY key, const wchar_t* name, DWORD*, DWORD*, BYTE*, DWORD* size) -> LSTATUS {
                EXPECT_EQ(key, fakeKey);
                EXPECT_EQ(*size, 4U);
                calls.push_back(std::wstring(L"query ") + name);
                return ERROR_FILE_NOT_FOUND;
            });
        const test::ScopedHook<test::RegCloseKeyHook> close([&](HKEY key) -> LSTATUS {
            EXPECT_EQ(key, fakeKey);
            calls.emplace_back(L"close");
            return ERROR_SUCCESS;
        });
        const test::ScopedHook<test::ExpandEnvironmentStringsWHook> expand(
            [&](const wchar_t* text, wchar_t* buffer, DWORD size) {
                calls.push_back(std::wstring(L"expand ") + text);
                return test::ExpandEnvironmentStringsWHook::Real(text, buffer, size);
            });
        const LoggerSettings settings(std::move(config), source);
        return calls;
    }
};

const std::wstring ExpandCall = L"expand %TARNWICK_TEST_FOLDER%\\logs\\";

TEST_F(SettingsCalls, AllFlags_OpenAndCloseTheKeyForEachValueInOrderAndExpandLast) {
    const LoggerSettingsSource source = {true, true, true, true, L"SYSTEM\\Some\\Key"};
    const std::wstring open = L"open SYSTEM\\Some\\Key";
    EXPECT_THAT(CallsOf(NoFileConfig(), &source),
                ElementsAre(open, L"query TraceLevelsMask", L"close", open,
                            L"query ExpiredPeriodInDays", L"close", open, L"query MaxLogFilesSize",
                            L"close", open, L"query DisableLogRetention", L"close", ExpandCall));
}

TEST_F(SettingsCalls, OneFlag_ReadsThatValueAlone) {
    const std::pair<LoggerSettingsSource, std::wstring> rows[] = {
        {{true, false, false, false, L"K"}, L"query TraceLevelsMask"},
        {{false, true, false, false, L"K"}, L"query ExpiredPeriodInDays"},
        {{false, false, true, false, L"K"}, L"query MaxLogFilesSize"},
        {{false, false, false, true, L"K"}, L"query DisableLogRetention"},
    };
    for (const auto& [source, query] : rows) {
        EXPECT_THAT(CallsOf(NoFileConfig(), &source),
                    ElementsAre(L"open K", query, L"close", ExpandCall));
    }
}

TEST_F(SettingsCalls, NoFlag_LeavesTheRegistryAlone) {
    const LoggerSettingsSource source = {false, false, false, false, L"K"};
    EXPECT_THAT(CallsOf(NoFileConfig(), &source), ElementsAre(ExpandCall));
}

TEST_F(SettingsCalls, NullSource_LeavesTheRegistryAloneAndExpandsTheDirectory) {
    EXPECT_THAT(CallsOf(FileConfig(), nullptr), ElementsAre(ExpandCall));
    EXPECT_TRUE(std::filesystem::exists(LogFolder()));
}

// TraceLevelsMask

TEST_F(LoggerSettingsTest, MaskOfTheRegistry_IsTakenAsItStands) {
    for (const std::uint32_t mask : {0U, 1U, 8U, 15U, 0x80000000U}) {
        key_.Set(L"TraceLevelsMask", mask);
        const LoggerSettingsSource source = AllValues();
        const LoggerSettings settings(NoFileConfig(), &source);
        EXPECT_EQ(PassingLevels(), mask);
    }
}

TEST_F(LoggerSettingsTest, MaskZero_LeavesTheFileWithItsByteOrderMarkAlone) {
    key_.Set(L"TraceLevelsMask", 0);
    const LoggerSettingsSource source = AllValues();
    const LoggerSettings settings(FileConfig(), &source);
    InternalTrace(1, L"text");
    test::FreshLogger::Renew();
    EXPECT_EQ(test::ReadBytes(OnlyFile()), "\xFF\xFE");
}

TEST_F(LoggerSettingsTest, FlagNotSet_IgnoresTheValueOfTheRegistry) {
    key_.Set(L"TraceLevelsMask", 8);
    LoggerSettingsSource source = AllValues();
    source.ReadTraceLevelsMask = false;
    const LoggerSettings settings(NoFileConfig(), &source);
    EXPECT_EQ(PassingLevels(), 7U);
}

/// A value of another type or size has no effect.
struct ForeignValue {
    const char* name;
    DWORD type;
    std::vector<unsigned char> data;
};

void PrintTo(const ForeignValue& value, std::ostream* out) {
    *out << value.name;
}

class ForeignRegistryValue : public LoggerSettingsTest,
                             public ::testing::WithParamInterface<ForeignValue> {};

const ForeignValue ForeignValues[] = {
    {"short text", REG_SZ, {'8', 0}},
    {"text", REG_SZ, {'8', 0, '9', 0, 0, 0}},
    {"expandable text", REG_EXPAND_SZ, {'8', 0, 0, 0}},
    {"binary of four bytes", REG_BINARY, {8, 0, 0, 0}},
    {"number of eight bytes", REG_QWORD, {8, 0, 0, 0, 0, 0, 0, 0}},
    {"number in the other byte order", REG_DWORD_BIG_ENDIAN, {0, 0, 0, 8}},
    {"number that is too long", REG_DWORD, {8, 0, 0, 0, 0}},
    {"no type", REG_NONE, {}},
};

INSTANTIATE_TEST_SUITE_P(Shapes, ForeignRegistryValue, ValuesIn(ForeignValues));

// Retention, as far as it depends on the settings

/// A directory listing of one file, returned to every search for log files, and the deleted files.
class RetentionProbe {
  public:
    RetentionProbe(std::uint32_t ageInDays, std::uint32_t size) {
        found_.nFileSizeLow = size;
        FILETIME now = {};
        ::GetSystemTimeAsFileTime(&now);
        ULARGE_INTEGER time = {};
        time.LowPart = now.dwLowDateTime;
        time.HighPart = now.dwHighDateTime;
        time.QuadPart -= ageInDays * TicksOfADay + TicksOfADay / 2;
        found_.ftCreationTime = {time.LowPart, time.HighPart};
        std::wcscpy(found_.cFileName, L"old.log");
    }

    [[nodiscard]] int Searches() const noexcept { return searches_; }
    [[nodiscard]] int Deletions() const noexcept { return deletions_; }
    [[nodiscard]] const std::wstring& Searched() const noexcept { return searched_; }

  private:
    WIN32_FIND_DATAW found_ = {};
    int searches_ = 0;
    int deletions_ = 0;
    std::wstring searched_;
    test::ScopedHook<test::FindFirstFileWHook> first_{
        [this](const wchar_t* pattern, WIN32_FIND_DATAW* data) {
            ++searches_;
            searched_ = pattern;
            *data = found_;
            return reinterpret_cast<HANDLE>(std::uintptr_t{0x5152});
        }};
    test::ScopedHook<test::FindNextFileWHook> next_{[](auto...) {
        ::SetLastError(ERROR_NO_MORE_FILES);
        return FALSE;
    }};
    test::ScopedHook<test::FindCloseHook> close_{[](auto...) { return TRUE; }};
    test::ScopedHook<test::DeleteFileWHook> delete_{[this](auto...) {
        ++deletions_;
        return TRUE;
    }};
};

/// The files that remain, of one file of that age and size, when logging ends with the settings.
class RetentionSettings : public LoggerSettingsTest {
  protected:
    static LoggerConfig RetentionConfig() {
        LoggerConfig config = NoFileConfig();
        config.DisableLogRetention = false;
        config.CompressRotatedLogs = false;  // one pass, over the whole of MaxLogFilesSize
        config.ExpiredPeriodInDays = 70;
        config.MaxLogFilesSize = 1000;
        return config;
    }

    void End(const LoggerConfig& config) {
        const LoggerSettingsSource source = AllValues();
        const LoggerSettings settings(config, &source);
        test::FreshLogger::Renew();
    }

    [[nodiscard]] bool Deletes(std::uint32_t ageInDays, std::uint32_t size,
                               const LoggerConfig& config = RetentionConfig()) {
        const RetentionProbe probe(ageInDays, size);
        End(config);
        EXPECT_EQ(probe.Searches(), 1);
        return probe.Deletions() != 0;
    }

    [[nodiscard]] bool Runs(const LoggerConfig& config) {
        const RetentionProbe probe(0, 0);
        End(config);
        return probe.Searches() != 0;
    }
};

TEST_F(RetentionSettings, MissingKey_KeepsAllValuesOfTheConfig) {
    EXPECT_FALSE(Deletes(69, 999));
    EXPECT_TRUE(Deletes(70, 0));
    EXPECT_TRUE(Deletes(0, 1000));
    LoggerConfig disabled = RetentionConfig();
    disabled.DisableLogRetention = true;
    EXPECT_FALSE(Runs(disabled));
    const LoggerSettingsSource source = AllValues();
    const LoggerSettings settings(NoFileConfig(), &source);
    EXPECT_EQ(PassingLevels(), 7U);
}

TEST_F(RetentionSettings, MissingValues_KeepAllValuesOfTheConfig) {
    key_.Create();
    EXPECT_FALSE(Deletes(69, 999));
    EXPECT_TRUE(Deletes(70, 0));
    EXPECT_TRUE(Deletes(0, 1000));
}

TEST_F(RetentionSettings, RefusedKey_KeepsAllValuesOfTheConfigAndIsNotTold) {
    key_.Set(L"ExpiredPeriodInDays", 1);
    key_.Set(L"MaxLogFilesSize", 1);
    const test::ScopedHook<test::RegOpenKeyWHook> refuse(
        [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    test::DebuggerChannel debugger;
    EXPECT_FALSE(Deletes(69, 999));
    EXPECT_THAT(debugger.Take(), IsEmpty());
}

TEST_F(RetentionSettings, ExpiredPeriodOfTheRegistry_IsTakenAsItStands) {
    key_.Set(L"ExpiredPeriodInDays", 3);
    EXPECT_FALSE(Deletes(2, 999));
    EXPECT_TRUE(Deletes(3, 0));
    key_.Set(L"ExpiredPeriodInDays", 0);
    EXPECT_TRUE(Deletes(0, 0));
    key_.Set(L"ExpiredPeriodInDays", 0xFFFFFFFF);
    EXPECT_FALSE(Deletes(20000, 999));
}

TEST_F(RetentionSettings, MaxLogFilesSizeOfTheRegistry_IsTakenAsItStands) {
    key_.Set(L"MaxLogFilesSize", 50);
    EXPECT_FALSE(Deletes(0, 49));
    EXPECT_TRUE(Deletes(0, 50));
    key_.Set(L"MaxLogFilesSize", 0xFFFFFFFF);
    EXPECT_FALSE(Deletes(0, 0xFFFFFFFE));
    EXPECT_TRUE(Deletes(0, 0xFFFFFFFF));
    key_.Set(L"MaxLogFilesSize", 0);
    EXPECT_TRUE(Deletes(0, 0));
}

TEST_F(RetentionSettings, AnyNumberButZero_DisablesRetention) {
    for (const std::uint32_t value : {1U, 2U, 256U, 0x80000000U}) {
        key_.Set(L"DisableLogRetention", value);
        EXPECT_FALSE(Runs(RetentionConfig())) << value;
    }
    key_.Set(L"DisableLogRetention", 0);
    EXPECT_TRUE(Runs(RetentionConfig()));
}

TEST_F(RetentionSettings, ZeroInTheRegistry_EnablesRetentionThatTheConfigDisables) {
    key_.Set(L"DisableLogRetention", 0);
    LoggerConfig disabled = RetentionConfig();
    disabled.DisableLogRetention = true;
    EXPECT_TRUE(Runs(disabled));
}

TEST_F(RetentionSettings, ValuesAreReadOnceAtTheStart) {
    const RetentionProbe probe(1, 999);
    const LoggerSettingsSource source = AllValues();
    const LoggerSettings settings(RetentionConfig(), &source);
    key_.Set(L"TraceLevelsMask", 15);
    key_.Set(L"ExpiredPeriodInDays", 1);
    key_.Set(L"MaxLogFilesSize", 1);
    int opened = 0;
    const test::ScopedHook<test::RegOpenKeyWHook> open([&](auto... args) {
        ++opened;
        return test::RegOpenKeyWHook::Real(args...);
    });
    EXPECT_EQ(PassingLevels(), 7U);
    test::FreshLogger::Renew();
    EXPECT_EQ(probe.Searches(), 1);
    EXPECT_EQ(probe.Deletions(), 0);
    EXPECT_EQ(opened, 0);
}

TEST_P(ForeignRegistryValue, IsIgnoredForEveryField) {
    const ForeignValue& value = GetParam();
    for (const wchar_t* name :
         {L"TraceLevelsMask", L"ExpiredPeriodInDays", L"MaxLogFilesSize", L"DisableLogRetention"}) {
        key_.Set(name, {value.type, value.data});
    }
    LoggerConfig config = NoFileConfig();
    config.DisableLogRetention = false;
    config.ExpiredPeriodInDays = 70;
    config.MaxLogFilesSize = 100;
    const RetentionProbe probe(69, 99);
    const LoggerSettingsSource source = AllValues();
    const LoggerSettings settings(config, &source);
    EXPECT_EQ(PassingLevels(), 7U);
    test::FreshLogger::Renew();
    EXPECT_EQ(probe.Searches(), 1);
    EXPECT_EQ(probe.Deletions(), 0);
}

// The directory and the start of the logger

TEST_F(LoggerSettingsTest, Start_WritesTheThreeHeaderRecordsAndNothingElse) {
    const test::ScopedHook<test::GetModuleFileNameWHook> module(
        [](HMODULE, wchar_t* path, DWORD) -> DWORD {
            std::wcscpy(path, L"C:\\x.exe");
            return 8;
        });
    const LoggerSettings settings(FileConfig(), nullptr);
    const std::vector<std::wstring> records = Records();
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0], L"[T][quillon] build: 804, process: " +
                              std::to_wstring(::GetCurrentProcessId()) + L", 'C:\\x.exe'");
    EXPECT_EQ(records[1].substr(records[1].size() - 4), L" UTC");
    EXPECT_EQ(records[2].substr(records[2].size() - 6), L" LOCAL");
}

TEST_F(LoggerSettingsTest, DirectoryAlone_IsExpanded) {
    LoggerConfig config = FileConfig();
    config.FilePrefix = L"%OS%";
    config.ComponentName = L"%OS%";
    const LoggerSettings settings(config, nullptr);
    EXPECT_EQ(OnlyFile().filename().wstring().substr(0, 5), L"%OS%-");
    EXPECT_EQ(Records().front().substr(0, 10), L"[T][%OS%] ");
}

TEST_F(LoggerSettingsTest, UnknownVariable_StaysInTheDirectory) {
    LoggerConfig config = FileConfig();
    config.LogDirectory += L"%TARNWICK_NO_SUCH_VARIABLE%\\";
    const LoggerSettings settings(config, nullptr);
    EXPECT_TRUE(std::filesystem::exists(LogFolder() / L"%TARNWICK_NO_SUCH_VARIABLE%"));
}

TEST_F(LoggerSettingsTest, FailedExpansion_OpensNoFileAndIsNotToldByItself) {
    int directories = 0;
    int files = 0;
    const test::ScopedHook<test::ExpandEnvironmentStringsWHook> expand(
        [](auto...) -> DWORD { return 0; });
    const test::ScopedHook<test::CreateDirectoryWHook> directory([&](auto...) {
        ++directories;
        return FALSE;
    });
    const test::ScopedHook<test::CreateFileWHook> file([&](auto...) {
        ++files;
        return INVALID_HANDLE_VALUE;
    });
    test::DebuggerChannel debugger;
    LoggerConfig config = FileConfig();
    config.LogDirectory = LogFolder().wstring() + L'\\';  // could be used without expansion, too
    const LoggerSettings settings(config, nullptr);
    EXPECT_EQ(directories, 0);
    EXPECT_EQ(files, 0);
    // One for each header record.
    EXPECT_THAT(debugger.Take(), ElementsAre(L"Write operation failed, error: 6",
                                             L"Write operation failed, error: 6",
                                             L"Write operation failed, error: 6"));
}

TEST_F(RetentionSettings, FailedExpansion_LetsRetentionLookInTheCurrentDirectory) {
    const RetentionProbe probe(0, 0);
    {
        const test::ScopedHook<test::ExpandEnvironmentStringsWHook> expand(
            [](auto...) -> DWORD { return 0; });
        const LoggerSettings settings(RetentionConfig(), nullptr);
    }
    test::FreshLogger::Renew();
    EXPECT_EQ(probe.Searched(), L"*.log");
}

TEST_F(LoggerSettingsTest, DestroyedSettings_LeaveTheLoggerRunning) {
    auto settings = std::make_unique<LoggerSettings>(FileConfig(), nullptr);
    settings.reset();
    InternalTrace(4, L"later");
    EXPECT_EQ(Records().back(), L"[T][quillon] later");
}

TEST(LoggerSettingsSource, RecordThatNobodyFilled_LetsTheRegistryOverrideNothing) {
    const LoggerSettingsSource source;
    EXPECT_FALSE(source.ReadTraceLevelsMask || source.ReadExpiredPeriodInDays);
    EXPECT_FALSE(source.ReadMaxLogFilesSize || source.ReadDisableLogRetention);
    EXPECT_TRUE(source.RegistryKey.empty());
}

}  // namespace
}  // namespace framework
