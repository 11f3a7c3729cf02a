#include "framework/system/path_helpers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/platform_hooks.h"

namespace framework {
namespace {

using ::testing::ElementsAre;

/// An environment variable of this process for one test.
class Variable {
  public:
    Variable(const wchar_t* name, const std::wstring& value) : name_(name) {
        EXPECT_NE(::SetEnvironmentVariableW(name, value.c_str()), FALSE);
    }
    ~Variable() { ::SetEnvironmentVariableW(name_, nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    const wchar_t* name_;
};

/// Forwards the calls and records their buffer sizes.
class ExpansionSizes {
  public:
    std::vector<DWORD> sizes;

  private:
    test::ScopedHook<test::ExpandEnvironmentStringsWHook> hook_{
        [this](const wchar_t* source, wchar_t* buffer, DWORD size) -> DWORD {
            sizes.push_back(size);
            return test::ExpandEnvironmentStringsWHook::Real(source, buffer, size);
        }};
};

std::wstring Expanded(const std::wstring& source) {
    std::wstring expanded = L"before";
    EXPECT_TRUE(ExpandEnvironmentString(source, expanded));
    return expanded;
}

TEST(ExpandEnvironmentString, TextWithoutPercentSign_ComesBackUnchanged) {
    EXPECT_EQ(Expanded(L"C:\\no variable\\here"), L"C:\\no variable\\here");
}

TEST(ExpandEnvironmentString, EmptyText_GivesEmptyTextAndSuccess) {
    EXPECT_EQ(Expanded(L""), L"");
}

TEST(ExpandEnvironmentString, KnownVariable_IsReplacedWhereverItStands) {
    const Variable variable(L"TARNWICK_A", L"va\u0444lue");
    EXPECT_EQ(Expanded(L"%TARNWICK_A%\\x\\%tarnwick_a%"), L"va\u0444lue\\x\\va\u0444lue");
}

TEST(ExpandEnvironmentString, UnknownVariable_StaysWithItsPercentSigns) {
    EXPECT_EQ(Expanded(L"a\\%TARNWICK_NOT_SET%\\b"), L"a\\%TARNWICK_NOT_SET%\\b");
}

TEST(ExpandEnvironmentString, SourceAndResultMayBeTheSameText) {
    const Variable variable(L"TARNWICK_A", std::wstring(400, L'v'));
    std::wstring text = L"%TARNWICK_A%";
    EXPECT_TRUE(ExpandEnvironmentString(text, text));
    EXPECT_EQ(text, std::wstring(400, L'v'));
}

struct SizeCase {
    std::size_t length;
    std::vector<DWORD> sizes;
};

void PrintTo(const SizeCase& row, std::ostream* out) {
    *out << row.length;
}

class ExpansionOfLength : public ::testing::TestWithParam<SizeCase> {};

TEST_P(ExpansionOfLength, TakesABufferOfExactlyTheSizeTold) {
    const std::wstring value(GetParam().length, L'v');
    const Variable variable(L"TARNWICK_A", value);
    const ExpansionSizes calls;
    EXPECT_EQ(Expanded(L"%TARNWICK_A%"), value);
    EXPECT_EQ(calls.sizes, GetParam().sizes);
}

INSTANTIATE_TEST_SUITE_P(Lengths, ExpansionOfLength,
                         ::testing::Values(SizeCase{1, {260}}, SizeCase{258, {260}},
                                           SizeCase{259, {260}}, SizeCase{260, {260, 261}},
                                           SizeCase{261, {260, 262}},
                                           SizeCase{20000, {260, 20001}}));

TEST(ExpandEnvironmentString, TextThatGrowsBetweenTheCalls_IsAskedForUntilItFits) {
    std::vector<DWORD> sizes;
    const test::ScopedHook<test::ExpandEnvironmentStringsWHook> hook(
        [&](const wchar_t* source, wchar_t* buffer, DWORD size) -> DWORD {
            EXPECT_STREQ(source, L"source");
            sizes.push_back(size);
            if (sizes.size() < 4) {
                return size + 100;
            }
            std::fill_n(buffer, size - 1, L'x');
            buffer[size - 1] = 0;
            return size;
        });
    EXPECT_EQ(Expanded(L"source"), std::wstring(559, L'x'));
    EXPECT_THAT(sizes, ElementsAre(260U, 360U, 460U, 560U));
}

TEST(ExpandEnvironmentString, Buffer_IsZeroFilledAtFirstAndInWhatIsAdded) {
    std::vector<std::wstring> contents;
    const test::ScopedHook<test::ExpandEnvironmentStringsWHook> hook(
        [&](const wchar_t*, wchar_t* buffer, DWORD size) -> DWORD {
            contents.emplace_back(buffer, size);
            std::fill_n(buffer, size, L'x');
            return contents.size() == 1 ? 265U : 3U;
        });
    EXPECT_EQ(Expanded(L"source"), L"xx");
    EXPECT_THAT(contents, ElementsAre(std::wstring(260, L'\0'),
                                      std::wstring(260, L'x') + std::wstring(5, L'\0')));
}

class FailingExpansion : public ::testing::TestWithParam<int> {};

TEST_P(FailingExpansion, IsFalseAndLeavesTheResultAlone) {
    int calls = 0;
    const test::ScopedHook<test::ExpandEnvironmentStringsWHook> hook(
        [&](auto...) -> DWORD { return ++calls == GetParam() ? 0U : 1000U; });
    std::wstring expanded = L"before";
    EXPECT_FALSE(ExpandEnvironmentString(L"source", expanded));
    EXPECT_EQ(expanded, L"before");
    EXPECT_EQ(calls, GetParam());
}

INSTANTIATE_TEST_SUITE_P(AtCall, FailingExpansion, ::testing::Values(1, 2));

// ---- GetExecutableDirectory --------------------------------------------------------------------

/// Makes the platform return another path of the executable, truncated like the platform does.
class ModulePath {
  public:
    explicit ModulePath(std::wstring path) : path_(std::move(path)) {}

  private:
    DWORD Answer(HMODULE module, wchar_t* buffer, DWORD size) const {
        EXPECT_EQ(module, nullptr);
        EXPECT_EQ(size, 512U);
        const std::size_t copied = std::min<std::size_t>(path_.size(), size - 1);
        path_.copy(buffer, copied);
        buffer[copied] = 0;
        return path_.size() < size ? static_cast<DWORD>(path_.size()) : size;
    }

    std::wstring path_;
    test::ScopedHook<test::GetModuleFileNameWHook> hook_{
        [this](HMODULE module, wchar_t* buffer, DWORD size) -> DWORD {
            return Answer(module, buffer, size);
        }};
};

/// A path of `length` characters in the directory "C:\d".
std::wstring PathOfLength(std::size_t length) {
    const std::wstring directory = L"C:\\d\\";
    return directory + std::wstring(length - directory.size(), L'x');
}

TEST(GetExecutableDirectory, RunningProgram_IsItsDirectoryWithoutBackslash) {
    EXPECT_EQ(GetExecutableDirectory(), test::OwnPath().parent_path().wstring());
}

TEST(GetExecutableDirectory, PathOf511Characters_IsUsed) {
    const ModulePath path(PathOfLength(511));
    EXPECT_EQ(GetExecutableDirectory(), L"C:\\d");
}

TEST(GetExecutableDirectory, PathOf512Characters_IsEmpty) {
    const ModulePath path(PathOfLength(512));
    EXPECT_EQ(GetExecutableDirectory(), L"");
}

TEST(GetExecutableDirectory, PathOf513Characters_IsEmpty) {
    const ModulePath path(PathOfLength(513));
    EXPECT_EQ(GetExecutableDirectory(), L"");
}

TEST(GetExecutableDirectory, ProgramInARoot_KeepsTheRootsBackslash) {
    const ModulePath path(L"C:\\program.exe");
    EXPECT_EQ(GetExecutableDirectory(), L"C:\\");
}

TEST(GetExecutableDirectory, FailedModuleName_IsEmptyWithoutAskingFurther) {
    int removals = 0;
    const test::ScopedHook<test::GetModuleFileNameWHook> name([](auto...) -> DWORD { return 0; });
    const test::ScopedHook<test::PathRemoveFileSpecWHook> remove([&](auto...) -> BOOL {
        ++removals;
        return TRUE;
    });
    EXPECT_EQ(GetExecutableDirectory(), L"");
    EXPECT_EQ(removals, 0);
}

TEST(GetExecutableDirectory, NothingToRemoveFromThePath_IsEmpty) {
    const test::ScopedHook<test::PathRemoveFileSpecWHook> remove(
        [](auto...) -> BOOL { return FALSE; });
    EXPECT_EQ(GetExecutableDirectory(), L"");
}

// ---- GetFileNamePart ---------------------------------------------------------------------------

struct NameCase {
    const wchar_t* path;
    std::size_t offset;
};

void PrintTo(const NameCase& row, std::ostream* out) {
    *out << ::testing::PrintToString(row.path);
}

class FileNamePart : public ::testing::TestWithParam<NameCase> {};

TEST_P(FileNamePart, PointsBehindTheLastSeparatorOfThePathItself) {
    EXPECT_EQ(GetFileNamePart(GetParam().path), GetParam().path + GetParam().offset);
}

INSTANTIATE_TEST_SUITE_P(Paths, FileNamePart,
                         ::testing::Values(NameCase{L"", 0}, NameCase{L"name.exe", 0},
                                           NameCase{L"C:\\folder\\name.exe", 10},
                                           NameCase{L"folder/name.exe", 7}, NameCase{L"a\\b/c", 4},
                                           NameCase{L"a/b\\c", 4}, NameCase{L"C:name.exe", 2},
                                           NameCase{L"a\\b:c", 4}, NameCase{L"folder\\", 7},
                                           NameCase{L"folder/", 7}, NameCase{L"C:", 2},
                                           NameCase{L"\\\\", 2}));

TEST(GetFileNamePart, Null_GivesAnEmptyText) {
    EXPECT_STREQ(GetFileNamePart(nullptr), L"");
}

}  // namespace
}  // namespace framework
