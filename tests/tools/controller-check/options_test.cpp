#include "tools/controller-check/options.h"

#include <gmock/gmock.h>

namespace controller_check {
namespace {

using testing::ElementsAre;

Options Parse(const std::vector<std::wstring>& arguments) {
    const auto parsed = ParseOptions(arguments);
    if (const auto* error = std::get_if<OptionError>(&parsed)) {
        ADD_FAILURE() << std::string(error->text.begin(), error->text.end());
        return {};
    }
    return std::get<Options>(parsed);
}

bool Fails(const std::vector<std::wstring>& arguments) {
    return std::holds_alternative<OptionError>(ParseOptions(arguments));
}

TEST(ParseOptions, LibraryAlone_PlaysAllRoundsButTheOneThatUnpacks) {
    const Options options = Parse({L"a.dll"});
    EXPECT_EQ(options.library, L"a.dll");
    EXPECT_THAT(options.rounds, ElementsAre(Round::Service, Round::Console, Round::StopAtOnce,
                                            Round::Shutdown, Round::ForcedStop, Round::NoStart));
    EXPECT_EQ(options.timeout, 30000U);
    EXPECT_EQ(options.repetitions, 3U);
    EXPECT_FALSE(options.json);
    EXPECT_FALSE(options.quiet);
    EXPECT_EQ(options.color, ColorChoice::WhenTerminal);
}

TEST(ParseOptions, NamedRounds_ArePlayedOnceInTheirOwnOrder) {
    const Options options =
        Parse({L"--round", L"unpack", L"--round=service", L"a.dll", L"--round", L"service"});
    EXPECT_THAT(options.rounds, ElementsAre(Round::Service, Round::Unpack));
}

TEST(ParseOptions, Values_StandBehindOrAttached) {
    for (const auto& arguments :
         {std::vector<std::wstring>{L"--timeout", L"2", L"--run", L"0", L"--after-free", L"7",
                                    L"--repeat", L"9", L"-q", L"--json", L"a.dll"},
          {L"a.dll", L"--timeout=2", L"--run=0", L"--after-free=7", L"--repeat=9", L"--quiet",
           L"--json"}}) {
        const Options options = Parse(arguments);
        EXPECT_EQ(options.timeout, 2000U);
        EXPECT_EQ(options.workTime, 0U);
        EXPECT_EQ(options.afterFreeTime, 7U);
        EXPECT_EQ(options.repetitions, 9U);
        EXPECT_TRUE(options.quiet);
        EXPECT_TRUE(options.json);
    }
}

TEST(ParseOptions, Numbers_HaveBothLimits) {
    EXPECT_TRUE(Fails({L"--timeout=0", L"a.dll"}));
    EXPECT_EQ(Parse({L"--timeout=1", L"a.dll"}).timeout, 1000U);
    EXPECT_EQ(Parse({L"--timeout=86400", L"a.dll"}).timeout, 86400000U);
    EXPECT_TRUE(Fails({L"--timeout=86401", L"a.dll"}));
    EXPECT_TRUE(Fails({L"--repeat=0", L"a.dll"}));
    EXPECT_EQ(Parse({L"--repeat=1000", L"a.dll"}).repetitions, 1000U);
    EXPECT_TRUE(Fails({L"--repeat=1001", L"a.dll"}));
}

TEST(ParseOptions, Help_NeedsNoLibrary) {
    EXPECT_TRUE(Parse({L"-h"}).help);
    EXPECT_TRUE(Parse({L"--help"}).help);
}

TEST(ParseOptions, Version_NeedsNoLibrary) {
    EXPECT_TRUE(Parse({L"--version"}).version);
    EXPECT_FALSE(Parse({L"a.dll"}).version);
}

TEST(ParseOptions, WrongLines_AreRefused) {
    for (const auto& arguments : {std::vector<std::wstring>{},
                                  {L""},
                                  {L"a.dll", L"b.dll"},
                                  {L"--rounds", L"a.dll"},
                                  {L"-x", L"a.dll"},
                                  {L"--round", L"none", L"a.dll"},
                                  {L"a.dll", L"--round"},
                                  {L"--timeout", L"a.dll"},
                                  {L"--run=-1", L"a.dll"},
                                  {L"--run=1.5", L"a.dll"},
                                  {L"--run=99999999999", L"a.dll"},
                                  {L"--json=yes", L"a.dll"},
                                  {L"--color=red", L"a.dll"}}) {
        EXPECT_TRUE(Fails(arguments)) << arguments.size();
    }
}

TEST(HelpText, EachRound_IsTold) {
    for (const RoundInfo& info : Rounds) {
        EXPECT_NE(HelpText().find(info.name), std::wstring::npos);
        EXPECT_EQ(FindRound(info.name), info.round);
        EXPECT_EQ(InfoOf(info.round).name, info.name);
    }
}

}  // namespace
}  // namespace controller_check
