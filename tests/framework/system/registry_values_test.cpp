#include "framework/system/registry_values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "tests/framework/system/scratch_key.h"
#include "tests/framework/system/trace_recorder.h"
#include "tests/support/platform_hooks.h"

namespace framework {
namespace {

using test::DwordValue;
using test::RegistryValue;
using test::TextValue;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t Untouched = 0xCAFEF00D;
/// For calls that succeed without the platform.
const auto FakeKey = reinterpret_cast<HKEY>(std::uintptr_t{0x5150});

class RegistryValues : public ::testing::Test {
  protected:
    test::ScratchKey key_;
    test::TraceRecorder trace_;
};

// ---- Reading -----------------------------------------------------------------------------------

class ReadableDword : public RegistryValues, public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(ReadableDword, IsRead_AndPreferredToTheDefault) {
    key_.Set(L"Value", GetParam());
    std::uint32_t value = Untouched;
    EXPECT_EQ(ReadDwordValueFromRegistry(key_.Path(), L"Value", value), 0U);
    EXPECT_EQ(value, GetParam());
    EXPECT_EQ(GetDwordValueFromRegistry(key_.Path(), L"Value", 77), GetParam());
    EXPECT_THAT(trace_.Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Values, ReadableDword,
                         ::testing::Values(0U, 1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU));

struct UnreadableCase {
    const char* name;
    RegistryValue value;
    std::uint32_t status;
};

void PrintTo(const UnreadableCase& row, std::ostream* stream) {
    *stream << row.name;
}

class UnreadableValue : public RegistryValues,
                        public ::testing::WithParamInterface<UnreadableCase> {};

TEST_P(UnreadableValue, GivesItsStatus_LeavesOutputAlone_AndReadsAsDefault) {
    key_.Set(L"Value", GetParam().value);
    std::uint32_t value = Untouched;
    EXPECT_EQ(ReadDwordValueFromRegistry(key_.Path(), L"Value", value), GetParam().status);
    EXPECT_EQ(value, Untouched);
    EXPECT_EQ(GetDwordValueFromRegistry(key_.Path(), L"Value", 77), 77U);
    EXPECT_THAT(trace_.Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Types, UnreadableValue,
    ::testing::Values(
        UnreadableCase{"BinaryOfFourBytes", {REG_BINARY, {1, 2, 3, 4}}, ERROR_INVALID_DATATYPE},
        UnreadableCase{
            "BigEndianDword", {REG_DWORD_BIG_ENDIAN, {0, 0, 0, 1}}, ERROR_INVALID_DATATYPE},
        UnreadableCase{"TextOfFourBytes", TextValue(L"7"), ERROR_INVALID_DATATYPE},
        UnreadableCase{"EmptyBinary", {REG_BINARY, {}}, ERROR_INVALID_DATATYPE},
        UnreadableCase{"LongerText", TextValue(L"70"), ERROR_MORE_DATA},
        UnreadableCase{"BinaryOfFiveBytes", {REG_BINARY, {1, 2, 3, 4, 5}}, ERROR_MORE_DATA},
        UnreadableCase{"Qword", {REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}}, ERROR_MORE_DATA}),
    [](const auto& row) { return row.param.name; });

TEST_F(RegistryValues, Read_MissingKey_GivesFileNotFound) {
    std::uint32_t value = Untouched;
    EXPECT_EQ(ReadDwordValueFromRegistry(key_.Path(), L"Value", value), 2U);
    EXPECT_EQ(value, Untouched);
    EXPECT_EQ(GetDwordValueFromRegistry(key_.Path(), L"Value", 77), 77U);
    EXPECT_FALSE(key_.Exists());
    EXPECT_THAT(trace_.Lines(), IsEmpty());
}

TEST_F(RegistryValues, Read_MissingValue_GivesFileNotFound) {
    key_.Create();
    std::uint32_t value = Untouched;
    EXPECT_EQ(ReadDwordValueFromRegistry(key_.Path(), L"Value", value), 2U);
    EXPECT_EQ(value, Untouched);
    EXPECT_EQ(GetDwordValueFromRegistry(key_.Path(), L"Value", 77), 77U);
    EXPECT_THAT(trace_.Lines(), IsEmpty());
}

TEST_F(RegistryValues, Read_NoAccessToKey_GivesItsStatusAndClosesNothing) {
    int laterCalls = 0;
    const test::ScopedHook<test::RegOpenKeyWHook> open(
        [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    const test::ScopedHook<test::RegQueryValueExWHook> query([&](auto...) -> LSTATUS {
        ++laterCalls;
        return ERROR_SUCCESS;
    });
    const test::ScopedHook<test::RegCloseKeyHook> close([&](HKEY) -> LSTATUS {
        ++laterCalls;
        return ERROR_SUCCESS;
    });
    std::uint32_t value = Untouched;
    EXPECT_EQ(ReadDwordValueFromRegistry(key_.Path(), L"Value", value), 5U);
    EXPECT_EQ(value, Untouched);
    EXPECT_EQ(GetDwordValueFromRegistry(key_.Path(), L"Value", 77), 77U);
    EXPECT_EQ(laterCalls, 0);
    EXPECT_THAT(trace_.Lines(), IsEmpty());
}

/// The results of queries to a replaced registry.
struct QueryAnswer {
    LSTATUS status;
    DWORD type;
};

void PrintTo(const QueryAnswer& answer, std::ostream* out) {
    *out << "status " << answer.status << ", type " << answer.type;
}

class ReadCalls : public RegistryValues, public ::testing::WithParamInterface<QueryAnswer> {};

TEST_P(ReadCalls, OpenByPlainCall_QueryFourBytes_CloseOnce) {
    std::vector<std::wstring> calls;
    const test::ScopedHook<test::RegOpenKeyWHook> open(
        [&](HKEY root, const wchar_t* path, HKEY* key) -> LSTATUS {
            EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
            calls.push_back(std::wstring(L"open ") + path);
            *key = FakeKey;
            return ERROR_SUCCESS;
        });
    const test::ScopedHook<test::RegOpenKeyExWHook> openEx([&](auto...) -> LSTATUS {
        calls.emplace_back(L"open with access mask");
        return ERROR_ACCESS_DENIED;
    });
    const test::ScopedHook<test::RegQueryValueExWHook> query(
        [&](HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data,
            DWORD* size) -> LSTATUS {
            EXPECT_EQ(key, FakeKey);
            EXPECT_EQ(reserved, nullptr);
            calls.push_back(std::wstring(L"query ") + name + L" of " + std::to_wstring(*size));
            *type = GetParam().type;
            *size = 4;
            std::memset(data, 0x11, 4);
            return GetParam().status;
        });
    const test::ScopedHook<test::RegCloseKeyHook> close([&](HKEY key) -> LSTATUS {
        EXPECT_EQ(key, FakeKey);
        calls.emplace_back(L"close");
        return ERROR_INVALID_HANDLE;
    });
    std::uint32_t value = Untouched;
    const std::uint32_t status = ReadDwordValueFromRegistry(L"some\\key", L"name", value);
    EXPECT_THAT(calls, ElementsAre(L"open some\\key", L"query name of 4", L"close"));
    if (GetParam().status != ERROR_SUCCESS) {
        // The status of the query decides first, whatever type it returned.
        EXPECT_EQ(status, static_cast<std::uint32_t>(GetParam().status));
        EXPECT_EQ(value, Untouched);
    } else if (GetParam().type != REG_DWORD) {
        EXPECT_EQ(status, 1804U);
        EXPECT_EQ(value, Untouched);
    } else {
        EXPECT_EQ(status, 0U);
        EXPECT_EQ(value, 0x11111111U);
    }
}

INSTANTIATE_TEST_SUITE_P(Answers, ReadCalls,
                         ::testing::Values(QueryAnswer{ERROR_SUCCESS, REG_DWORD},
                                           QueryAnswer{ERROR_SUCCESS, REG_BINARY},
                                           QueryAnswer{ERROR_ACCESS_DENIED, REG_DWORD},
                                           QueryAnswer{ERROR_MORE_DATA, REG_SZ}));

// ---- Setting -----------------------------------------------------------------------------------

TEST_F(RegistryValues, Set_ExistingValue_IsReplacedAndTraced) {
    key_.Set(L"Value", 1);
    EXPECT_EQ(SetDwordValueToRegistry(key_.Path(), L"Value", 0xFFFFFFFF), 0U);
    EXPECT_EQ(key_.Get(L"Value"), DwordValue(0xFFFFFFFF));
    EXPECT_THAT(trace_.Lines(), ElementsAre(L"4 SetDwordValueToRegistry: set success (key=" +
                                            key_.Path() + L", valueName=Value, value=4294967295)"));
}

TEST_F(RegistryValues, Set_MissingValue_IsCreated) {
    key_.Create();
    EXPECT_EQ(SetDwordValueToRegistry(key_.Path(), L"Value", 0), 0U);
    EXPECT_EQ(key_.Get(L"Value"), DwordValue(0));
    EXPECT_THAT(trace_.Lines(), ElementsAre(L"4 SetDwordValueToRegistry: set success (key=" +
                                            key_.Path() + L", valueName=Value, value=0)"));
}

TEST_F(RegistryValues, Set_ValueOfAnotherType_IsOverwrittenWithDword) {
    key_.Set(L"Value", TextValue(L"a longer text"));
    EXPECT_EQ(SetDwordValueToRegistry(key_.Path(), L"Value", 26214400), 0U);
    EXPECT_EQ(key_.Get(L"Value"), DwordValue(26214400));
}

TEST_F(RegistryValues, Set_MissingKey_IsCreatedWithItsParentsAndTraced) {
    const std::wstring path = key_.Path() + L"\\Parent\\Leaf";
    EXPECT_EQ(SetDwordValueToRegistry(path, L"Value", 5), 0U);
    EXPECT_EQ(GetDwordValueFromRegistry(path, L"Value", 77), 5U);
    EXPECT_THAT(
        trace_.Lines(),
        ElementsAre(L"4 SetDwordValueToRegistry (key=" + path +
                        L", valueName=Value): RegOpenKeyW cannot open key because it does it "
                        L"exist. Will create a key",
                    L"4 SetDwordValueToRegistry: key " + path + L" was created",
                    L"4 SetDwordValueToRegistry: set success (key=" + path +
                        L", valueName=Value, value=5)"));
}

/// Replaces the writing calls, with results set by the test, and records their order with the log
/// lines.
class RegistryWriting : public RegistryValues {
  protected:
    std::vector<std::wstring> CallsAndLines() {
        TakeLines();
        return steps_;
    }

    LSTATUS openStatus_ = ERROR_SUCCESS;
    LSTATUS createStatus_ = ERROR_SUCCESS;
    LSTATUS setStatus_ = ERROR_SUCCESS;
    LSTATUS deleteStatus_ = ERROR_SUCCESS;

  private:
    void TakeLines() {
        const std::vector<std::wstring> lines = trace_.Lines();
        for (; taken_ < lines.size(); ++taken_) {
            steps_.push_back(lines[taken_]);
        }
    }

    void Step(const std::wstring& call) {
        TakeLines();
        steps_.push_back(call);
    }

    static void Give(LSTATUS status, HKEY* key) {
        if (status == ERROR_SUCCESS) {
            *key = FakeKey;
        }
    }

    std::size_t taken_ = 0;
    std::vector<std::wstring> steps_;
    test::ScopedHook<test::RegOpenKeyExWHook> open_{
        [this](HKEY root, const wchar_t* path, DWORD options, REGSAM access, HKEY* key) -> LSTATUS {
            EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
            EXPECT_EQ(options, 0U);
            EXPECT_EQ(access, 2U);
            Step(std::wstring(L"open ") + path);
            Give(openStatus_, key);
            return openStatus_;
        }};
    test::ScopedHook<test::RegCreateKeyExWHook> create_{
        [this](HKEY root, const wchar_t* path, DWORD reserved, wchar_t* keyClass, DWORD options,
               REGSAM access, SECURITY_ATTRIBUTES* security, HKEY* key,
               DWORD* disposition) -> LSTATUS {
            EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
            EXPECT_EQ(reserved, 0U);
            EXPECT_EQ(keyClass, nullptr);
            EXPECT_EQ(options, 0U);
            EXPECT_EQ(access, 2U);
            EXPECT_EQ(security, nullptr);
            EXPECT_EQ(disposition, nullptr);
            Step(std::wstring(L"create ") + path);
            Give(createStatus_, key);
            return createStatus_;
        }};
    test::ScopedHook<test::RegSetValueExWHook> set_{
        [this](HKEY key, const wchar_t* name, DWORD reserved, DWORD type, const BYTE* data,
               DWORD size) -> LSTATUS {
            EXPECT_EQ(key, FakeKey);
            EXPECT_EQ(reserved, 0U);
            EXPECT_EQ(type, 4U);
            EXPECT_EQ(size, 4U);
            std::uint32_t number = 0;
            std::memcpy(&number, data, sizeof(number));
            Step(std::wstring(L"set ") + name + L" to " + std::to_wstring(number));
            return setStatus_;
        }};
    test::ScopedHook<test::RegDeleteValueWHook> delete_{
        [this](HKEY key, const wchar_t* name) -> LSTATUS {
            EXPECT_EQ(key, FakeKey);
            Step(std::wstring(L"delete ") + name);
            return deleteStatus_;
        }};
    test::ScopedHook<test::RegCloseKeyHook> close_{[this](HKEY key) -> LSTATUS {
        EXPECT_EQ(key, FakeKey);
        Step(L"close");
        return ERROR_INVALID_HANDLE;
    }};
};

TEST_F(RegistryWriting, Set_OpenedKey_IsClosedLastAndItsCloseIsNotLookedAt) {
    EXPECT_EQ(SetDwordValueToRegistry(L"k", L"v", 9), 0U);
    EXPECT_THAT(CallsAndLines(),
                ElementsAre(L"open k", L"set v to 9",
                            L"4 SetDwordValueToRegistry: set success (key=k, valueName=v, value=9)",
                            L"close"));
}

TEST_F(RegistryWriting, Set_CreatedKey_IsUsedAndClosedOnce) {
    openStatus_ = ERROR_FILE_NOT_FOUND;
    EXPECT_EQ(SetDwordValueToRegistry(L"k", L"v", 9), 0U);
    EXPECT_THAT(
        CallsAndLines(),
        ElementsAre(L"open k",
                    L"4 SetDwordValueToRegistry (key=k, valueName=v): RegOpenKeyW cannot open key "
                    L"because it does it exist. Will create a key",
                    L"create k", L"4 SetDwordValueToRegistry: key k was created", L"set v to 9",
                    L"4 SetDwordValueToRegistry: set success (key=k, valueName=v, value=9)",
                    L"close"));
}

TEST_F(RegistryWriting, Set_FailedCreation_EndsItWithThatStatus) {
    openStatus_ = ERROR_FILE_NOT_FOUND;
    createStatus_ = ERROR_ACCESS_DENIED;
    EXPECT_EQ(SetDwordValueToRegistry(L"k", L"v", 9), 5U);
    EXPECT_THAT(
        CallsAndLines(),
        ElementsAre(
            L"open k",
            L"4 SetDwordValueToRegistry (key=k, valueName=v): RegOpenKeyW cannot open key because "
            L"it does it exist. Will create a key",
            L"create k",
            L"4 SetDwordValueToRegistry (key=k, valueName=v): RegCreateKeyExW failed with error "
            L"5"));
}

TEST_F(RegistryWriting, Set_NoAccessToKey_IsTracedWithoutBlankAndCreatesNothing) {
    openStatus_ = ERROR_ACCESS_DENIED;
    EXPECT_EQ(SetDwordValueToRegistry(L"k", L"v", 9), 5U);
    EXPECT_THAT(CallsAndLines(),
                ElementsAre(L"open k",
                            L"4 SetDwordValueToRegistry(key=k, valueName=v): RegOpenKeyW failed "
                            L"with error 5"));
}

TEST_F(RegistryWriting, Set_PathNotFound_IsNotTakenForAMissingKey) {
    openStatus_ = ERROR_PATH_NOT_FOUND;
    EXPECT_EQ(SetDwordValueToRegistry(L"k", L"v", 9), 3U);
    EXPECT_THAT(CallsAndLines(),
                ElementsAre(L"open k",
                            L"4 SetDwordValueToRegistry(key=k, valueName=v): RegOpenKeyW failed "
                            L"with error 3"));
}

TEST_F(RegistryWriting, Set_FailedWrite_IsTracedAndKeyIsClosed) {
    setStatus_ = ERROR_KEY_DELETED;
    EXPECT_EQ(SetDwordValueToRegistry(L"k", L"v", 9), 1018U);
    EXPECT_THAT(CallsAndLines(),
                ElementsAre(L"open k", L"set v to 9",
                            L"4 SetDwordValueToRegistry: RegSetValueExW (key=k, valueName=v) "
                            L"failed with error 1018",
                            L"close"));
}

// ---- Removing ----------------------------------------------------------------------------------

class RemovedValue : public RegistryValues, public ::testing::WithParamInterface<RegistryValue> {};

TEST_P(RemovedValue, IsGoneWhateverItsTypeWas) {
    key_.Set(L"Value", GetParam());
    key_.Set(L"Other", 3);
    EXPECT_EQ(RemoveValueFromRegistry(key_.Path(), L"Value"), 0U);
    EXPECT_EQ(key_.Get(L"Value"), std::nullopt);
    EXPECT_EQ(key_.Get(L"Other"), DwordValue(3));
    EXPECT_THAT(trace_.Lines(), ElementsAre(L"4 RemoveValueFromRegistry: success (key=" +
                                            key_.Path() + L", valueName=Value)"));
}

INSTANTIATE_TEST_SUITE_P(Types, RemovedValue,
                         ::testing::Values(DwordValue(7), TextValue(L"text"),
                                           RegistryValue{REG_BINARY, {1, 2, 3, 4}}));

TEST_F(RegistryValues, Remove_MissingKey_IsSuccess) {
    EXPECT_EQ(RemoveValueFromRegistry(key_.Path(), L"Value"), 0U);
    EXPECT_FALSE(key_.Exists());
    EXPECT_THAT(trace_.Lines(), ElementsAre(L"4 RemoveValueFromRegistry (key=" + key_.Path() +
                                            L", valueName=Value): RegOpenKeyW cannot open key "
                                            L"because it does it exist"));
}

TEST_F(RegistryValues, Remove_MissingValueInExistingKey_IsFailure) {
    key_.Create();
    EXPECT_EQ(RemoveValueFromRegistry(key_.Path(), L"Value"), 2U);
    EXPECT_THAT(trace_.Lines(), ElementsAre(L"4 RemoveValueFromRegistry (key=" + key_.Path() +
                                            L", valueName=Value): RegDeleteValueW failed with "
                                            L"error 2"));
}

TEST_F(RegistryWriting, Remove_OpenedKey_IsClosedLast) {
    EXPECT_EQ(RemoveValueFromRegistry(L"k", L"v"), 0U);
    EXPECT_THAT(CallsAndLines(),
                ElementsAre(L"open k", L"delete v",
                            L"4 RemoveValueFromRegistry: success (key=k, valueName=v)", L"close"));
}

TEST_F(RegistryWriting, Remove_FailedDeletion_IsTracedAndKeyIsClosed) {
    deleteStatus_ = ERROR_ACCESS_DENIED;
    EXPECT_EQ(RemoveValueFromRegistry(L"k", L"v"), 5U);
    EXPECT_THAT(CallsAndLines(),
                ElementsAre(L"open k", L"delete v",
                            L"4 RemoveValueFromRegistry (key=k, valueName=v): RegDeleteValueW "
                            L"failed with error 5",
                            L"close"));
}

TEST_F(RegistryWriting, Remove_MissingKey_DeletesAndClosesNothing) {
    openStatus_ = ERROR_FILE_NOT_FOUND;
    EXPECT_EQ(RemoveValueFromRegistry(L"k", L"v"), 0U);
    EXPECT_THAT(CallsAndLines(),
                ElementsAre(L"open k",
                            L"4 RemoveValueFromRegistry (key=k, valueName=v): RegOpenKeyW cannot "
                            L"open key because it does it exist"));
}

TEST_F(RegistryWriting, Remove_NoAccessToKey_IsSilentAndGivesItsStatus) {
    openStatus_ = ERROR_ACCESS_DENIED;
    EXPECT_EQ(RemoveValueFromRegistry(L"k", L"v"), 5U);
    EXPECT_THAT(CallsAndLines(), ElementsAre(L"open k"));
}

}  // namespace
}  // namespace framework
