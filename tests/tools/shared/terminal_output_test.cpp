#include "tools/shared/terminal_output.h"

#include <gtest/gtest.h>

#include "framework/system/platform.h"

namespace {

using namespace tools;

TEST(WantsColor, AlwaysAndNever_DoNotAskTheTerminal) {
    EXPECT_TRUE(WantsColor(ColorChoice::Always));
    EXPECT_FALSE(WantsColor(ColorChoice::Never));
    ::SetEnvironmentVariableW(L"NO_COLOR", L"1");
    EXPECT_TRUE(WantsColor(ColorChoice::Always));
}

TEST(WantsColor, WhenTerminal_OutputToNothingHasNone) {
    ::SetStdHandle(STD_OUTPUT_HANDLE, nullptr);
    EXPECT_FALSE(WantsColor(ColorChoice::WhenTerminal));
}

}  // namespace
