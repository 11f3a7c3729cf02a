// Values of any type and size in the registry, read like the settings.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>

#include "framework/system/registry_values.h"
#include "tests/framework/system/scratch_key.h"
#include "tests/fuzz/target.h"

namespace fuzz {
namespace {

constexpr const wchar_t* Names[] = {L"TraceLevelsMask", L"ExpiredPeriodInDays", L"MaxLogFilesSize",
                                    L"DisableLogRetention", L"DumpType"};

const std::wstring Characters = L"\x0001\x0004\x0007\x007F\x0080\x00FF";

/// The type as first character, then the data, one character per byte.
const std::vector<std::wstring> Words = {std::wstring(L"\x0004\x0007\0\0\0", 5),
                                         std::wstring(L"\x0004\0\0\0\0", 5),
                                         std::wstring(L"\x0004\x00FF\x00FF\x00FF\x00FF", 5),
                                         std::wstring(L"\x0004\x0001\0\0", 4),
                                         std::wstring(L"\x0004\x0001\0\0\0\0", 6),
                                         std::wstring(L"\x0003\x0001\0\0\0", 5),
                                         std::wstring(L"\x0001\x0037\0\0\0", 5),
                                         std::wstring(L"\x0005\0\0\0\x0001", 5),
                                         std::wstring(L"\x000B\x0001\0\0\0\0\0\0\0", 9),
                                         L"\x0004",
                                         L""};

/// The five values; an empty text means a missing one.
Input Generate(Random& random) {
    Input input(std::size(Names));
    for (std::wstring& value : input) {
        value = random.OneIn(4) ? random.Text(Characters, 10) : random.Pick(Words);
    }
    return input;
}

struct Outcome {
    std::uint32_t status;
    std::uint32_t value;
};

constexpr std::uint32_t Untouched = 0xFEEDBEEF;

/// Only a number of at most four bytes counts; missing high bytes are zero.
Outcome ModelOfRead(const std::wstring& text) {
    if (text.empty()) {
        return {ERROR_FILE_NOT_FOUND, Untouched};
    }
    const std::string data = BytesOfText(text.substr(1));
    if (data.size() > 4) {
        return {ERROR_MORE_DATA, Untouched};
    }
    if (text[0] != REG_DWORD) {
        return {ERROR_INVALID_DATATYPE, Untouched};
    }
    std::uint32_t value = 0;
    for (std::size_t index = data.size(); index-- != 0;) {
        value = value << 8 | static_cast<unsigned char>(data[index]);
    }
    return {ERROR_SUCCESS, value};
}

/// The platform adds a missing terminating zero to a short text, and may then need more room.
bool IsAsExpected(const Outcome& is, const Outcome& expected, const std::wstring& text) {
    const bool isText =
        !text.empty() && (text[0] == REG_SZ || text[0] == REG_EXPAND_SZ || text[0] == REG_MULTI_SZ);
    return is.value == expected.value &&
           (is.status == expected.status || (isText && is.status == ERROR_MORE_DATA));
}

void Store(const test::ScratchKey& key, const wchar_t* name, const std::wstring& text) {
    if (text.empty()) {
        if (key.Get(name)) {
            key.Delete(name);
        }
        return;
    }
    const std::string data = BytesOfText(text.substr(1));
    key.Set(name, {text[0], std::vector<BYTE>(data.begin(), data.end())});
}

std::string Check(const test::ScratchKey& key, const Input& given) {
    Input input = given;
    input.resize(std::size(Names));
    for (std::size_t index = 0; index < input.size(); ++index) {
        Store(key, Names[index], input[index]);
    }
    for (std::size_t index = 0; index < input.size(); ++index) {
        const Outcome expected = ModelOfRead(input[index]);
        Outcome is = {0, Untouched};
        is.status = framework::ReadDwordValueFromRegistry(key.Path(), Names[index], is.value);
        if (!IsAsExpected(is, expected, input[index])) {
            return "value " + std::to_string(index) + ": status " + std::to_string(is.status) +
                   ", value " + std::to_string(is.value) + ", should be " +
                   std::to_string(expected.status) + " and " + std::to_string(expected.value);
        }
        constexpr std::uint32_t Default = 26214400;
        const std::uint32_t value =
            framework::GetDwordValueFromRegistry(key.Path(), Names[index], Default);
        if (value != (expected.status == ERROR_SUCCESS ? expected.value : Default)) {
            return "value " + std::to_string(index) + " with a default gives " +
                   std::to_string(value);
        }
    }
    return "";
}

TEST(Fuzz, Registry) {
    const test::ScratchKey key;
    key.Create();
    TryTarget({"registry",
               Generate,
               [&key](const Input& input) { return Check(key, input); },
               {Words, Characters, 64, true},
               600,
               10000});
}

}  // namespace
}  // namespace fuzz
