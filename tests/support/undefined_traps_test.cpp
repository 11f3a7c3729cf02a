// Part of the build with traps alone, where a test that passes says nothing unless traps are set.

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "framework/system/platform.h"
#include "tests/support/child_process.h"

namespace {

constexpr std::uint32_t IllegalInstruction = 0xC000001D;

/// Adds its argument to the highest number there is.
int AddToHighest(const std::vector<std::wstring>& arguments) {
    volatile int number = std::numeric_limits<int>::max();
    number = number + std::stoi(arguments.at(0));
    return 7;
}

const test::ChildRoutine addToHighest(L"add-to-highest", AddToHighest);

std::uint32_t ExitCodeAdding(const wchar_t* number) {
    test::Child child(test::SelfCommandLine(L"add-to-highest", {number}));
    return child.Wait();
}

TEST(UndefinedTraps, OverflowOfASignedNumber_EndsTheProgram) {
    EXPECT_EQ(ExitCodeAdding(L"1"), IllegalInstruction);
}

TEST(UndefinedTraps, TheSameWithoutOverflow_EndsAsUsual) {
    EXPECT_EQ(ExitCodeAdding(L"0"), 7U);
}

}  // namespace
