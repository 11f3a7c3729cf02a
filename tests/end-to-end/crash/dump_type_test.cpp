// The registry value that selects the contents of a dump.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "framework/system/unique_handle.h"
#include "tests/end-to-end/crash/crash_run.h"
#include "tests/end-to-end/crash/minidump_reader.h"

namespace {

using test::CrashRun;

constexpr const wchar_t* KeyPath = L"SYSTEM\\CurrentControlSet\\Services\\VelmoraTarnwickService";
constexpr const wchar_t* ValueName = L"DumpType";

/// Sets the value and removes it at the end, with the key if the test created it.
class DumpTypeValue {
  public:
    DumpTypeValue(DWORD type, const std::vector<BYTE>& data) {
        DWORD disposition = 0;
        ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, KeyPath, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                          key_.Receive(), &disposition);
        keyMade_ = disposition == REG_CREATED_NEW_KEY;
        result_ = ::RegSetValueExW(key_.Get(), ValueName, 0, type, data.data(),
                                   static_cast<DWORD>(data.size()));
    }
    ~DumpTypeValue() {
        ::RegDeleteValueW(key_.Get(), ValueName);
        if (keyMade_) {
            ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, KeyPath);
        }
    }
    DumpTypeValue(const DumpTypeValue&) = delete;
    DumpTypeValue& operator=(const DumpTypeValue&) = delete;

    [[nodiscard]] bool Written() const { return result_ == ERROR_SUCCESS; }

  private:
    framework::RegistryKey key_;
    bool keyMade_ = false;
    LSTATUS result_ = ERROR_SUCCESS;
};

std::vector<BYTE> Number(std::uint32_t number) {
    std::vector<BYTE> bytes(sizeof(number));
    std::memcpy(bytes.data(), &number, sizeof(number));
    return bytes;
}

/// The flags of the platform call in a run that crashes.
std::uint64_t FlagsOfACrash() {
    CrashRun run;
    run.Script(std::string(test::PretendDump) +
               "trace-import MiniDumpWriteDump\n"
               "on bootstrap crash read\n");
    EXPECT_EQ(run.Run(L"-zevrunzip"), test::AccessViolation);
    const auto calls = run.Host().ReadTranscript().With("import", "MiniDumpWriteDump");
    return calls.at(0).Number("arg4") & 0xFFFFFFFF;
}

TEST(DumpType, Missing_GivesPlainDumps) {
    EXPECT_EQ(FlagsOfACrash(), 0U);
}

struct ValueCase {
    const char* name;
    DWORD type;
    std::vector<BYTE> data;
    std::uint32_t flags;
};

void PrintTo(const ValueCase& value, std::ostream* out) {
    *out << value.name;
}

class DumpTypeOf : public ::testing::TestWithParam<ValueCase> {};

TEST_P(DumpTypeOf, ReachesThePlatformUnmaskedIfItIsADword) {
    const DumpTypeValue value(GetParam().type, GetParam().data);
    ASSERT_TRUE(value.Written());
    EXPECT_EQ(FlagsOfACrash(), GetParam().flags);
}

INSTANTIATE_TEST_SUITE_P(
    Values, DumpTypeOf,
    ::testing::Values(ValueCase{"Zero", REG_DWORD, Number(0), 0},
                      ValueCase{"FullMemory", REG_DWORD, Number(2), 2},
                      ValueCase{"UnknownFlags", REG_DWORD, Number(0x80000000), 0x80000000},
                      ValueCase{"AllBits", REG_DWORD, Number(0xFFFFFFFF), 0xFFFFFFFF},
                      ValueCase{"String", REG_SZ, {'2', 0, 0, 0}, 0},
                      ValueCase{"Binary", REG_BINARY, Number(2), 0},
                      ValueCase{"Qword", REG_QWORD, {2, 0, 0, 0, 0, 0, 0, 0}, 0}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(DumpType, FlagsThatThePlatformRefuses_FailTheDump) {
    const DumpTypeValue value(REG_DWORD, Number(0x80000000));
    ASSERT_TRUE(value.Written());
    CrashRun run;
    // Wine's platform call refuses no flag, so the refusal is simulated.
    run.Script(
        "fail-import MiniDumpWriteDump every 0x80070057\n"
        "on bootstrap crash read\n");
    EXPECT_EQ(run.Run(L"-zevrunzip"), test::AccessViolation);
    const std::uint64_t thread = run.CrashingThread();
    EXPECT_EQ(run.CrashRecords(),
              test::Join({test::PassBegins(thread),
                          test::DumpFailed(thread,
                                           L"MiniDumpWriteDump failed with error "
                                           L"2147942487")}));
}

// Takes long on Wine, so there is only one such test.
TEST(DumpType, Two_WritesTheWholeMemory) {
    constexpr std::uint32_t Memory64ListStream = 9;
    const DumpTypeValue value(REG_DWORD, Number(2));
    ASSERT_TRUE(value.Written());
    CrashRun run;
    run.Script("on bootstrap crash read\n");
    EXPECT_EQ(run.Run(L"-zevrunzip"), test::AccessViolation);
    const test::Minidump dump = test::ReadMinidump(run.DumpFile());
    EXPECT_EQ(dump.flags, 2U);
    EXPECT_EQ(dump.exceptionCode, test::AccessViolation);
    EXPECT_TRUE(dump.HasStream(Memory64ListStream));
    // More than the executable itself; a plain dump is far smaller.
    EXPECT_GT(std::filesystem::file_size(run.DumpFile()), 4U * 1024 * 1024);
}

}  // namespace
