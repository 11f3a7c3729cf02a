#include "dev-controller/import_patch.h"

#include <gtest/gtest.h>

#include "dev-controller/platform.h"

namespace dev_controller {
namespace {

BOOL WINAPI FakeBeep(DWORD frequency, DWORD duration) {
    SetLastError(frequency + duration);
    return 77;
}

TEST(ImportPatch, ReplacedImport_IsCalledUntilItIsPutBack) {
    void** word = FindExecutableImport("Beep");
    ASSERT_NE(word, nullptr);
    void* original = ReplaceImport(word, reinterpret_cast<void*>(&FakeBeep));
    ASSERT_NE(original, nullptr);
    const BOOL result = Beep(1000, 1);
    const DWORD error = GetLastError();
    EXPECT_EQ(ReplaceImport(word, original), reinterpret_cast<void*>(&FakeBeep));
    EXPECT_EQ(result, 77);
    EXPECT_EQ(error, 1001U);
    EXPECT_EQ(*word, original);
}

TEST(ImportPatch, UnknownImport_IsNotFound) {
    EXPECT_EQ(FindExecutableImport("NoSuchFunction"), nullptr);
    EXPECT_EQ(FindExecutableImport(""), nullptr);
    EXPECT_EQ(FindExecutableImport("bee"), nullptr);
}

}  // namespace
}  // namespace dev_controller
