#include "dev-controller/import_hooks.h"

#include <gtest/gtest.h>

#include "dev-controller/platform.h"

namespace dev_controller {
namespace {

ImportRule Rule(const char* function, std::uint32_t first, std::uint32_t last, FailImport fail) {
    return {function, {first, last}, fail};
}

/// Imports can be hooked once per process, so one test shows the behaviours one after the other.
/// Nothing else in this program calls these functions.
TEST(ImportHooks, RulesActOnChosenCallsOnly) {
    static Transcript transcript;
    static int played = 0;
    const std::vector<ImportRule> rules = {
        Rule("GetFileAttributesW", 2, 2, {1234, std::nullopt, L""}),
        Rule("SetFileAttributesW", 1, NoLimit, {55, std::uint64_t{9}, L"\\b.txt"}),
        {"GetShortPathNameW", {2, 3}, BeforeImport{{Action{FlushLog{}}}}},
    };
    const auto mistake = InstallImportHooks(rules, transcript, [](const Actions& actions) {
        EXPECT_TRUE(std::holds_alternative<FlushLog>(actions.at(0).what));
        ++played;
        // Called directly and not counted.
        wchar_t path[MAX_PATH] = {};
        GetShortPathNameW(L"C:\\", path, MAX_PATH);
    });
    ASSERT_EQ(mistake, std::nullopt);

    EXPECT_NE(GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), 1234U);
    EXPECT_NE(GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetFileAttributesW(L"C:\\no such file"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));

    EXPECT_EQ(SetFileAttributesW(L"C:\\no such folder\\b.txt", FILE_ATTRIBUTE_NORMAL), 9);
    EXPECT_EQ(GetLastError(), 55U);
    EXPECT_EQ(SetFileAttributesW(L"C:\\no such folder\\c.txt", FILE_ATTRIBUTE_NORMAL), FALSE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));

    wchar_t path[MAX_PATH] = {};
    for (int call = 0; call < 4; ++call) {
        EXPECT_NE(GetShortPathNameW(L"C:\\", path, MAX_PATH), 0U);
    }
    EXPECT_EQ(played, 2);
}

TEST(ImportHooks, FailureResult_IsWhatEachFunctionGives) {
    EXPECT_EQ(FailureResult("CreateFileW", 5), ~std::uint64_t{0});
    EXPECT_EQ(FailureResult("FindFirstFileW", 5), ~std::uint64_t{0});
    EXPECT_EQ(FailureResult("WaitForSingleObject", 6), 0xFFFFFFFFU);
    EXPECT_EQ(FailureResult("GetFileAttributesW", 6), 0xFFFFFFFFU);
    EXPECT_EQ(FailureResult("RegOpenKeyW", 5), 5U);
    EXPECT_EQ(FailureResult("RegisterServiceCtrlHandlerW", 5), 0U);
    EXPECT_EQ(FailureResult("CreateThread", 8), 0U);
    EXPECT_EQ(FailureResult("CreateEventA", 8), 0U);
}

}  // namespace
}  // namespace dev_controller
