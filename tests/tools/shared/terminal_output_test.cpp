#include "tools/shared/terminal_output.h"

#include <gtest/gtest.h>

#include "framework/system/platform.h"

namespace {

using namespace tools;

TEST(ToUtf8, EveryLengthOfSequence) {
    EXPECT_EQ(ToUtf8(L""), "");
    EXPECT_EQ(ToUtf8(L"~\x00E9\x4F60\xD83D\xDE00"), "~\xC3\xA9\xE4\xBD\xA0\xF0\x9F\x98\x80");
}

TEST(ToUtf8, LoneSurrogate_BecomesTheReplacementCharacter) {
    EXPECT_EQ(ToUtf8(L"a\xD83D"), "a\xEF\xBF\xBD");
}

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
