// Only in the build with traps: there a passed test means nothing unless the traps work.

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "framework/system/platform.h"
#include "tests/support/child_process.h"

namespace {

constexpr std::uint32_t IllegalInstruction = 0xC000001D;

/// Adds its argument to the largest number.
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
