// Paths: their file name part, variables in them, names of log files.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <regex>

#include "framework/logger/log_file_name.h"
#include "framework/system/path_helpers.h"
#include "tests/fuzz/target.h"
#include "tests/support/fixed_clock.h"

namespace fuzz {
namespace {

const std::wstring Characters = L"ab\\/:.%LOGID-0 \x00E9\x65E5\xD800\xDC00?*\"|";

const std::vector<std::wstring> Words = {L"C:\\",
                                         L"\\\\?\\",
                                         L"LOGID",
                                         L"logid",
                                         L"LOGIDLOGID",
                                         L"LOGLOGIDID",
                                         L"%ALLUSERSPROFILE%",
                                         L"%FUZZ_SHORT%",
                                         L"%FUZZ_LONG%",
                                         L"%fuzz_short%",
                                         L"%NO_SUCH_VARIABLE%",
                                         L"%%",
                                         L"%",
                                         L"quillon",
                                         L"\\Velmora\\Quillon\\Logs\\",
                                         L"12",
                                         L"4294967295"};

/// A path, a prefix, a number.
Input Generate(Random& random) {
    std::wstring path;
    for (std::size_t count = random.Below(6); count != 0; --count) {
        path += random.OneIn(3) ? random.Text(Characters, 12) : random.Pick(Words);
    }
    // Around the sizes of the first buffer and of the longest name.
    if (random.OneIn(3)) {
        path.resize(random.Between(200, 270), L'x');
    }
    return {path, random.OneIn(2) ? L"quillon" : random.Text(Characters, 30),
            random.Text(L"0123456789", 10)};
}

std::string CheckFileNamePart(const std::wstring& path) {
    const wchar_t* const part = framework::GetFileNamePart(path.c_str());
    const std::size_t separator = path.find_last_of(L"\\/:");
    const std::size_t begin = separator == std::wstring::npos ? 0 : separator + 1;
    return part == path.c_str() + begin ? "" : "wrong file name part " + Escaped({part});
}

/// The platform's own result, with a buffer that is large enough for any text here.
std::string CheckExpansion(const std::wstring& path) {
    std::wstring expected(0x10000, L'\0');
    const DWORD size = ::ExpandEnvironmentStringsW(path.c_str(), expected.data(), 0x10000);
    std::wstring expanded = L"before";
    const bool done = framework::ExpandEnvironmentString(path, expanded);
    expected.resize(size == 0 ? 0 : size - 1);
    if (done != (size != 0)) {
        return "the expansion fails or succeeds wrongly";
    }
    return expanded == (done ? expected : L"before")
               ? ""
               : "expanded " + Escaped({expanded}) + ", should be " + Escaped({expected});
}

std::string CheckName(const std::wstring& directory, const std::wstring& prefix,
                      std::uint32_t number) {
    const SYSTEMTIME time = test::Moment(2026, 1, 9, 3, 4, 5, 67);
    const std::wstring name = framework::MakeNameTemplate(directory, prefix, time);
    std::wstring expected = directory + prefix + L"-20260109-030405-067.LOGID.log";
    if (expected.size() > 260) {
        expected.clear();
    }
    if (name != expected) {
        return "template " + Escaped({name}) + ", should be " + Escaped({expected});
    }
    static const std::wregex word(L"LOGID");
    const std::wstring file = framework::MakeFileName(name, number);
    const std::wstring expectedFile = std::regex_replace(name, word, std::to_wstring(number));
    return file == expectedFile ? "" : "name " + Escaped({file});
}

std::string Check(const Input& given) {
    Input input = given;
    input.resize(3);
    const std::wstring path = input[0].c_str();
    const std::wstring prefix = input[1].c_str();
    std::string wrong = CheckFileNamePart(path);
    wrong = wrong.empty() ? CheckExpansion(path) : wrong;
    const std::uint32_t number = input[2].find_first_not_of(L"0123456789") == std::wstring::npos &&
                                         input[2].size() < 11 && !input[2].empty()
                                     ? static_cast<std::uint32_t>(std::stoull(input[2]))
                                     : 7;
    return wrong.empty() ? CheckName(path, prefix, number) : wrong;
}

TEST(Fuzz, Paths) {
    ::SetEnvironmentVariableW(L"FUZZ_SHORT", L"short");
    ::SetEnvironmentVariableW(L"FUZZ_LONG", std::wstring(240, L'l').c_str());
    TryTarget({"paths", Generate, Check, {Words, Characters, 600, true}, 10000, 100000});
}

}  // namespace
}  // namespace fuzz
