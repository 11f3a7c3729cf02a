// The values of the service's registry key, of the right type and of each wrong one. Every start of
// the executable on this machine reads them, so these tests run alone.

#include <gmock/gmock.h>

#include <vector>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"
#include "tests/end-to-end/support/log_files.h"

namespace {

using test::Records;

constexpr const wchar_t* KeyPath = L"SYSTEM\\CurrentControlSet\\Services\\VelmoraTarnwickService";

/// The key with one value, during the lifetime of this object only.
class ServiceKey {
  public:
    ServiceKey(const wchar_t* name, DWORD type, const std::string& data) {
        DWORD disposition = 0;
        if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, KeyPath, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                              key_.Receive(), &disposition) != ERROR_SUCCESS) {
            ADD_FAILURE() << "can't create the key";
        }
        EXPECT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY))
            << "the service is installed: its settings are not for tests";
        EXPECT_EQ(
            ::RegSetValueExW(key_.Get(), name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                             static_cast<DWORD>(data.size())),
            ERROR_SUCCESS);
    }
    ~ServiceKey() { ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, KeyPath); }
    ServiceKey(const ServiceKey&) = delete;
    ServiceKey& operator=(const ServiceKey&) = delete;

  private:
    framework::RegistryKey key_;
};

std::string Number(std::uint64_t value, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) {
        bytes += static_cast<char>(value >> (8 * i));
    }
    return bytes;
}

/// The text "15" in UTF-16 with its terminator.
std::string TextOf15() {
    return std::string(
        "1\0"
        "5\0"
        "\0\0",
        6);
}

std::string VerboseLineScript() {
    return "on bootstrap log verbose null deep\n";
}

Records LogOfVerboseRun(const test::HostFolder& host) {
    const auto process = host.Start(L"-zevrunzip");
    EXPECT_EQ(process->Wait(), 0U);
    return host.OnlyLog();
}

TEST(TraceLevelsMask, Absent_DropsVerboseLines) {
    const test::HostFolder host;
    host.Script(VerboseLineScript());
    EXPECT_THAT(LogOfVerboseRun(host), testing::Not(testing::Contains(L"[V][quillon] deep")));
}

TEST(TraceLevelsMask, Fifteen_LetsVerboseLinesPass) {
    const ServiceKey key(L"TraceLevelsMask", REG_DWORD, Number(15, 4));
    const test::HostFolder host;
    host.Script(VerboseLineScript());
    EXPECT_THAT(LogOfVerboseRun(host), testing::Contains(L"[V][quillon] deep"));
}

TEST(TraceLevelsMask, Eight_LeavesTheVerboseLineAlone) {
    const ServiceKey key(L"TraceLevelsMask", REG_DWORD, Number(8, 4));
    const test::HostFolder host;
    host.Script(VerboseLineScript());
    EXPECT_THAT(LogOfVerboseRun(host), testing::ElementsAre(L"[V][quillon] deep"));
}

TEST(TraceLevelsMask, Zero_LeavesTheByteOrderMarkAlone) {
    const ServiceKey key(L"TraceLevelsMask", REG_DWORD, Number(0, 4));
    const test::HostFolder host;
    EXPECT_EQ(host.Start(L"-foo")->Wait(), 0U);
    const auto files = test::LogFilesIn(host.Logs());
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(test::ReadLogBytes(files[0]), "\xFF\xFE");
}

struct WrongValue {
    const char* name;
    DWORD type;
    std::string data;
};

// One test for all rows, here and below, because tests that run alone are slow.
TEST(TraceLevelsMask, OfAnyWrongType_IsIgnoredInSilence) {
    const WrongValue values[] = {{"text", REG_SZ, TextOf15()},
                                 {"text of four bytes", REG_SZ, std::string("8\0\0\0", 4)},
                                 {"expandable text", REG_EXPAND_SZ, std::string("8\0\0\0", 4)},
                                 {"several texts", REG_MULTI_SZ, std::string("8\0\0\0", 4)},
                                 {"binary", REG_BINARY, Number(8, 4)},
                                 {"none", REG_NONE, Number(8, 4)},
                                 {"quadword", REG_QWORD, Number(8, 8)},
                                 {"other byte order", REG_DWORD_BIG_ENDIAN, Number(8, 4)},
                                 {"number of eight bytes", REG_DWORD, Number(8, 8)}};
    for (const WrongValue& value : values) {
        SCOPED_TRACE(value.name);
        const ServiceKey key(L"TraceLevelsMask", value.type, value.data);
        const test::HostFolder host;
        const auto process = host.Start(L"-foo");
        EXPECT_EQ(process->Wait(), 0U);
        EXPECT_EQ(host.OnlyLog(),
                  test::WholeLog(process->ProcessId(), host.Executable(), {L"-foo"}, {}));
    }
}

/// Missing bytes of a short number count as zeros.
TEST(TraceLevelsMask, OfFewerThanFourBytes_CountsAsANumber) {
    for (const std::size_t size : {1U, 2U, 3U}) {
        SCOPED_TRACE(size);
        const ServiceKey key(L"TraceLevelsMask", REG_DWORD, Number(8, size));
        const test::HostFolder host;
        host.Script(VerboseLineScript());
        EXPECT_THAT(LogOfVerboseRun(host), testing::ElementsAre(L"[V][quillon] deep"));
    }
    const ServiceKey key(L"TraceLevelsMask", REG_DWORD, "");
    const test::HostFolder host;
    EXPECT_EQ(host.Start(L"-foo")->Wait(), 0U);
    const auto files = test::LogFilesIn(host.Logs());
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(test::ReadLogBytes(files[0]), "\xFF\xFE") << "not taken for 0";
}

/// Creates a file of this age and size in the log folder, and the folder.
std::filesystem::path MakeOldLog(const test::HostFolder& host, const wchar_t* name, int days,
                                 std::uint64_t size) {
    const std::filesystem::path file = host.Logs() / name;
    std::filesystem::create_directories(host.Logs());
    test::WriteFileBytes(file, "old");
    std::filesystem::resize_file(file, size);
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    ULARGE_INTEGER ticks = {};
    ticks.LowPart = now.dwLowDateTime;
    ticks.HighPart = now.dwHighDateTime;
    ticks.QuadPart -= static_cast<ULONGLONG>(days) * 864000000000ULL;
    const FILETIME then = {ticks.LowPart, ticks.HighPart};
    const framework::FileHandle handle(::CreateFileW(
        file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_NE(::SetFileTime(handle.Get(), &then, &then, &then), FALSE);
    return file;
}

struct RetentionRow {
    const char* name;
    const wchar_t* valueName;
    DWORD type;
    std::string data;
    const wchar_t* fileName;
    int days;
    std::uint64_t size;
    bool stays;
};

constexpr std::uint64_t MiB = 1024 * 1024;

void ExpectRetention(const std::vector<RetentionRow>& rows) {
    for (const RetentionRow& row : rows) {
        SCOPED_TRACE(row.name);
        const ServiceKey key(row.valueName, row.type, row.data);
        const test::HostFolder host;
        const std::filesystem::path file = MakeOldLog(host, row.fileName, row.days, row.size);
        EXPECT_EQ(host.Start(L"-foo")->Wait(), 0U);
        EXPECT_EQ(std::filesystem::exists(file), row.stays);
    }
}

TEST(ExpiredPeriodInDays, OnlyANumberCounts) {
    ExpectRetention(
        {{"nothing set, 71 days", L"Unrelated", REG_DWORD, Number(1, 4), L"old.log", 71, 10, false},
         {"nothing set, 69 days", L"Unrelated", REG_DWORD, Number(1, 4), L"old.log", 69, 10, true},
         {"longer", L"ExpiredPeriodInDays", REG_DWORD, Number(80, 4), L"old.log", 71, 10, true},
         {"shorter", L"ExpiredPeriodInDays", REG_DWORD, Number(5, 4), L"old.log", 6, 10, false},
         {"text", L"ExpiredPeriodInDays", REG_SZ, TextOf15(), L"old.log", 16, 10, true},
         {"quadword", L"ExpiredPeriodInDays", REG_QWORD, Number(5, 8), L"old.log", 6, 10, true}});
}

TEST(DisableLogRetention, AnyNumberButZeroTurnsItOff) {
    ExpectRetention(
        {{"one", L"DisableLogRetention", REG_DWORD, Number(1, 4), L"old.log", 71, 10, true},
         {"large", L"DisableLogRetention", REG_DWORD, Number(0x80000000, 4), L"old.log", 71, 10,
          true},
         {"zero", L"DisableLogRetention", REG_DWORD, Number(0, 4), L"old.log", 71, 10, false},
         {"text", L"DisableLogRetention", REG_SZ, TextOf15(), L"old.log", 71, 10, false},
         {"binary", L"DisableLogRetention", REG_BINARY, Number(1, 4), L"old.log", 71, 10, false}});
}

TEST(MaxLogFilesSize, OnlyANumberCounts) {
    ExpectRetention(
        {{"nothing set", L"Unrelated", REG_DWORD, Number(1, 4), L"old.log.gz", 1, 17 * MiB, false},
         {"larger", L"MaxLogFilesSize", REG_DWORD, Number(48 * MiB, 4), L"old.log.gz", 1, 17 * MiB,
          true},
         {"text", L"MaxLogFilesSize", REG_SZ, TextOf15(), L"old.log.gz", 1, 17 * MiB, false},
         {"quadword", L"MaxLogFilesSize", REG_QWORD, Number(48 * MiB, 8), L"old.log.gz", 1,
          17 * MiB, false}});
}

TEST(ServiceValues, WrittenWhileTheProcessRuns_ChangeNothing) {
    const test::HostFolder host;
    const test::SharedEvent running(host, "running");
    const test::SharedEvent goOn(host, "go-on");
    host.Script("on bootstrap set-event " + running.Name() + "\non bootstrap wait-event " +
                goOn.Name() + " 30000\n" + VerboseLineScript());
    const auto process = host.Start(L"-zevrunzip");
    ASSERT_TRUE(running.Wait());
    const ServiceKey key(L"TraceLevelsMask", REG_DWORD, Number(8, 4));
    goOn.Set();
    EXPECT_EQ(process->Wait(), 0U);
    EXPECT_EQ(host.OnlyLog(),
              test::WholeLog(process->ProcessId(), host.Executable(), {L"-zevrunzip"}, {}));
}

}  // namespace
