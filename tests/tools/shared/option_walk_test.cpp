#include "tools/shared/option_walk.h"

#include <gmock/gmock.h>

namespace {

using namespace tools;
using testing::ElementsAre;
using testing::IsEmpty;

/// Knows the switches -a and --all, the values -n and --number, --color, -t and --text.
class Walk final : public OptionWalk {
  public:
    using OptionWalk::OptionWalk;

    std::vector<std::wstring> taken;
    bool finished = false;

  private:
    void TakeOperand(const std::wstring& argument) override { taken.push_back(argument); }
    bool TakeSwitch() override {
        if (!Is(L"-a", L"--all")) {
            return false;
        }
        taken.push_back(L"all");
        return true;
    }
    bool TakeValued() override {
        if (Is(L"-n", L"--number")) {
            taken.push_back(L"number " + std::to_wstring(Number(1, 500)));
        } else if (Is(L"--color")) {
            taken.push_back(L"color " + std::to_wstring(static_cast<int>(Color())));
        } else if (Is(L"-t", L"--text")) {
            taken.push_back(L"text " + Value());
        } else {
            return false;
        }
        return true;
    }
    void Finish() override { finished = true; }
};

std::vector<std::wstring> Taken(const std::vector<std::wstring>& arguments) {
    Walk walk(arguments);
    EXPECT_FALSE(walk.TakeAll().has_value());
    EXPECT_TRUE(walk.finished);
    return walk.taken;
}

std::wstring ErrorOf(const std::vector<std::wstring>& arguments) {
    Walk walk(arguments);
    const std::optional<OptionError> error = walk.TakeAll();
    EXPECT_FALSE(walk.finished && error.has_value());
    return error ? error->text : L"";
}

TEST(OptionWalk, ValueStandsBehindTheOptionOrAtIt) {
    EXPECT_THAT(Taken({L"-n", L"5", L"--number", L"6", L"--number=7", L"-n8"}),
                ElementsAre(L"number 5", L"number 6", L"number 7", L"number 8"));
    EXPECT_THAT(Taken({L"--text=", L"--text=a=b", L"-t", L"--all"}),
                ElementsAre(L"text ", L"text a=b", L"text --all"));
}

TEST(OptionWalk, ShortSwitchesStandTogether_LastMayHaveAValue) {
    EXPECT_THAT(Taken({L"-aan5", L"-aa"}),
                ElementsAre(L"all", L"all", L"number 5", L"all", L"all"));
    EXPECT_THAT(Taken({L"-at", L"x"}), ElementsAre(L"all", L"text x"));
}

TEST(OptionWalk, WhatIsNoOption_IsAnOperand) {
    EXPECT_THAT(Taken({}), IsEmpty());
    EXPECT_THAT(Taken({L"", L"-", L"a", L"C:\\-a"}), ElementsAre(L"", L"-", L"a", L"C:\\-a"));
}

TEST(OptionWalk, WrongOption_IsNamed) {
    EXPECT_EQ(ErrorOf({L"--alls"}), L"there is no option --alls");
    EXPECT_EQ(ErrorOf({L"--"}), L"there is no option --");
    EXPECT_EQ(ErrorOf({L"-ax"}), L"there is no option -x");
    EXPECT_EQ(ErrorOf({L"--all=1"}), L"--all takes no value");
    EXPECT_EQ(ErrorOf({L"-a", L"-t"}), L"-t needs a value");
    EXPECT_EQ(ErrorOf({L"--color", L"red"}), L"--color takes auto, always or never");
}

TEST(OptionWalk, FirstErrorStands_NothingIsTakenBehindIt) {
    const std::vector<std::wstring> arguments = {L"-x", L"-y", L"-a"};
    Walk walk(arguments);
    EXPECT_EQ(walk.TakeAll()->text, L"there is no option -x");
    EXPECT_THAT(walk.taken, IsEmpty());
}

TEST(OptionWalk, Numbers_HaveBothLimits) {
    EXPECT_THAT(Taken({L"-n", L"1", L"-n", L"500"}), ElementsAre(L"number 1", L"number 500"));
    for (const wchar_t* wrong : {L"0", L"501", L"", L"-1", L"1x", L"4294967297"}) {
        EXPECT_EQ(ErrorOf({L"-n", wrong}), L"-n needs a number from 1 to 500") << wrong;
    }
}

TEST(OptionWalk, Color_HasThreeWords) {
    EXPECT_THAT(Taken({L"--color", L"auto", L"--color=always", L"--color", L"never"}),
                ElementsAre(L"color 0", L"color 1", L"color 2"));
}

}  // namespace
