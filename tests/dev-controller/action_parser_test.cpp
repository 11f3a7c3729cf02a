#include "dev-controller/action_parser.h"

#include <gtest/gtest.h>

namespace dev_controller {
namespace {

/// The one action of `text`. A wrong kind or an error fails the test by an exception.
template <typename Kind>
Kind Parsed(const wchar_t* text, ActionPlace place = ActionPlace::Point) {
    ScriptWords words(text);
    const Action action = ParseAction(words, place);
    EXPECT_FALSE(words.Mistake()) << testing::PrintToString(std::wstring(text));
    return std::get<Kind>(action.what);
}

void ExpectMistake(const wchar_t* text, ActionPlace place = ActionPlace::Point) {
    ScriptWords words(text);
    static_cast<void>(ParseAction(words, place));
    EXPECT_TRUE(words.Mistake()) << testing::PrintToString(std::wstring(text));
}

TEST(ActionParser, Return_TakesAnyThirtyTwoBits) {
    EXPECT_EQ(Parsed<ReturnCode>(L"return 3").code, 3);
    EXPECT_EQ(Parsed<ReturnCode>(L"return -5").code, -5);
    EXPECT_EQ(Parsed<ReturnCode>(L"return 0x80000000").code, INT32_MIN);
    ExpectMistake(L"return");
    ExpectMistake(L"return 1 2");
    ExpectMistake(L"return 1", ActionPlace::Elsewhere);
    ExpectMistake(L"thread return 1");
}

TEST(ActionParser, NullController_BelongsToCreateAlone) {
    Parsed<NullController>(L"null-controller", ActionPlace::Create);
    ExpectMistake(L"null-controller", ActionPlace::Point);
    ExpectMistake(L"null-controller", ActionPlace::Elsewhere);
}

TEST(ActionParser, WaitEvent_TakesTheNameAsItStands) {
    const auto wait = Parsed<WaitForNamedEvent>(L"wait-event Local\\next 250");
    EXPECT_EQ(wait.name, L"Local\\next");
    EXPECT_EQ(wait.limit, 250U);
    EXPECT_EQ(Parsed<WaitForNamedEvent>(L"wait-event Global\\a").limit, NoLimit);
    EXPECT_EQ(Parsed<SetNamedEvent>(L"set-event Local\\tail").name, L"Local\\tail");
    ExpectMistake(L"wait-event");
    ExpectMistake(L"wait-event a b");
    ExpectMistake(L"set-event a b");
}

TEST(ActionParser, Log_KnowsLevelsByNameAndNumber) {
    EXPECT_EQ(Parsed<LogLine>(L"log trace null x").level, 0U);
    EXPECT_EQ(Parsed<LogLine>(L"log warning null x").level, 1U);
    EXPECT_EQ(Parsed<LogLine>(L"log error null x").level, 2U);
    EXPECT_EQ(Parsed<LogLine>(L"log verbose null x").level, 3U);
    EXPECT_EQ(Parsed<LogLine>(L"log -1 null x").level, 0xFFFFFFFFU);
    EXPECT_EQ(Parsed<LogLine>(L"log 7 null x").level, 7U);
    ExpectMistake(L"log loud null x");
}

TEST(ActionParser, Log_TellsNullFromDefaultFromEmpty) {
    EXPECT_EQ(Parsed<LogLine>(L"log trace null x").component, std::nullopt);
    EXPECT_EQ(Parsed<LogLine>(L"log trace default x").component, L"dev-controller");
    EXPECT_EQ(Parsed<LogLine>(L"log trace \"default\" x").component, L"default");
    EXPECT_EQ(Parsed<LogLine>(L"log trace \"\" x").component, L"");
    EXPECT_EQ(Parsed<LogLine>(L"log trace c null").text, std::nullopt);
    EXPECT_EQ(Parsed<LogLine>(L"log trace c \"\"").text, L"");
    EXPECT_EQ(Parsed<LogLine>(L"log trace c 100 %s %n").text, L"100 %s %n");
    ExpectMistake(L"log trace c");
}

TEST(ActionParser, SetCallback_HoldsTheActionOrNothing) {
    EXPECT_TRUE(Parsed<SetCallback>(L"set-callback null").body.empty());
    const auto callback = Parsed<SetCallback>(L"set-callback crash write");
    ASSERT_EQ(callback.body.size(), 1U);
    EXPECT_EQ(std::get<CrashNow>(callback.body[0].what).request.kind, CrashKind::Write);
    ExpectMistake(L"set-callback");
    ExpectMistake(L"set-callback return 1");
}

TEST(ActionParser, Crash_ReadsEachKind) {
    const std::pair<const wchar_t*, CrashKind> kinds[] = {
        {L"crash read", CrashKind::Read},
        {L"crash write", CrashKind::Write},
        {L"crash execute", CrashKind::Execute},
        {L"crash guard", CrashKind::Guard},
        {L"crash misaligned", CrashKind::Misaligned},
        {L"crash divide", CrashKind::Divide},
        {L"crash overflow", CrashKind::Overflow},
        {L"crash illegal", CrashKind::Illegal},
        {L"crash privileged", CrashKind::Privileged},
        {L"crash breakpoint", CrashKind::Breakpoint},
        {L"crash cpp", CrashKind::Cpp},
        {L"crash raise 1", CrashKind::Raise},
        {L"crash heap-corruption", CrashKind::HeapCorruption},
        {L"crash stack-overflow", CrashKind::StackOverflow},
        {L"crash fail-fast", CrashKind::FailFast},
        {L"crash handled 1", CrashKind::Handled}};
    for (const auto& [text, kind] : kinds) {
        EXPECT_EQ(Parsed<CrashNow>(text).request.kind, kind);
    }
    ExpectMistake(L"crash");
    ExpectMistake(L"crash softly");
    ExpectMistake(L"crash read 1");
}

TEST(ActionParser, Crash_ReadsCodesAndCounts) {
    EXPECT_EQ(Parsed<CrashNow>(L"crash raise 0xE0001234").request.code, 0xE0001234U);
    EXPECT_FALSE(Parsed<CrashNow>(L"crash raise 1").request.continuable);
    EXPECT_TRUE(Parsed<CrashNow>(L"crash raise 1 continuable").request.continuable);
    ExpectMistake(L"crash raise 1 again");
    const auto handled = Parsed<CrashNow>(L"crash handled 100000").request;
    EXPECT_EQ(handled.count, 100000U);
    EXPECT_EQ(handled.code, 0U);
    EXPECT_EQ(Parsed<CrashNow>(L"crash handled 2 0xE0000001").request.code, 0xE0000001U);
    ExpectMistake(L"crash raise");
    ExpectMistake(L"crash handled");
}

TEST(ActionParser, Threads_HoldOneToTwoHundredAndFiftySix) {
    EXPECT_EQ(Parsed<StartThreads>(L"threads 1 flush").count, 1U);
    EXPECT_EQ(Parsed<StartThreads>(L"threads 256 flush").count, 256U);
    ExpectMistake(L"threads 0 flush");
    ExpectMistake(L"threads 257 flush");
    ExpectMistake(L"threads 2");
    EXPECT_TRUE(Parsed<StartThreads>(L"thread flush").joined);
    EXPECT_FALSE(Parsed<StartThreads>(L"detached-thread flush").joined);
}

TEST(ActionParser, AfterAndWhenEvent_AreThreadsThatWaitFirst) {
    const auto after = Parsed<StartThreads>(L"after 50 interrupt");
    ASSERT_EQ(after.body.size(), 2U);
    EXPECT_EQ(std::get<Delay>(after.body[0].what).milliseconds, 50U);
    EXPECT_TRUE(std::holds_alternative<Interrupt>(after.body[1].what));
    const auto when = Parsed<StartThreads>(L"when-event Local\\go enable-stop");
    ASSERT_EQ(when.body.size(), 2U);
    EXPECT_EQ(std::get<WaitForNamedEvent>(when.body[0].what).name, L"Local\\go");
    EXPECT_TRUE(std::holds_alternative<EnableStop>(when.body[1].what));
    ExpectMistake(L"after interrupt");
    ExpectMistake(L"when-event Local\\go");
}

TEST(ActionParser, Nesting_KeepsTheOrder) {
    const auto repeat = Parsed<Repeat>(L"repeat 20 threads 2 register");
    EXPECT_EQ(repeat.count, 20U);
    const auto& threads = std::get<StartThreads>(repeat.body.at(0).what);
    EXPECT_EQ(threads.count, 2U);
    EXPECT_TRUE(std::holds_alternative<RegisterInterfaces>(threads.body.at(0).what));
}

TEST(ActionParser, SimpleActions) {
    EXPECT_EQ(Parsed<Delay>(L"delay 12000").milliseconds, 12000U);
    EXPECT_EQ(Parsed<ExitWithCode>(L"exit 0xC0DE").code, 0xC0DEU);
    EXPECT_FALSE(Parsed<ExitWithCode>(L"exit 1").byRunTime);
    EXPECT_TRUE(Parsed<ExitWithCode>(L"exit 1 run-time").byRunTime);
    ExpectMistake(L"exit 1 now");
    EXPECT_EQ(Parsed<CallRoutine>(L"call burst").name, L"burst");
    EXPECT_TRUE(Parsed<InitializeCom>(L"com-init multi").multithreaded);
    EXPECT_FALSE(Parsed<InitializeCom>(L"com-init single").multithreaded);
    Parsed<FlushLog>(L"flush");
    Parsed<RemoveCallback>(L"remove-callback");
    ExpectMistake(L"com-init any");
    ExpectMistake(L"flush now");
    ExpectMistake(L"");
    ExpectMistake(L"dance");
}

std::wstring Nested(int depth) {
    std::wstring text;
    for (int level = 1; level < depth; ++level) {
        text += L"thread ";
    }
    return text + L"flush";
}

TEST(ActionParser, ActionsWithinActions_AreSixtyFourDeepAtMost) {
    Parsed<StartThreads>(Nested(64).c_str());
    ExpectMistake(Nested(65).c_str());
    // Deep enough to overflow the stack of a parser without a limit.
    ExpectMistake(Nested(100000).c_str());
}

TEST(ParseCallRange, ReadsEachForm) {
    const auto single = ParseCallRange(L"3");
    ASSERT_TRUE(single);
    EXPECT_FALSE(single->Holds(2));
    EXPECT_TRUE(single->Holds(3));
    EXPECT_FALSE(single->Holds(4));
    const auto open = ParseCallRange(L"2+");
    ASSERT_TRUE(open);
    EXPECT_FALSE(open->Holds(1));
    EXPECT_TRUE(open->Holds(2));
    EXPECT_TRUE(open->Holds(NoLimit));
    const auto closed = ParseCallRange(L"2-4");
    ASSERT_TRUE(closed);
    EXPECT_FALSE(closed->Holds(1));
    EXPECT_TRUE(closed->Holds(4));
    EXPECT_FALSE(closed->Holds(5));
    EXPECT_TRUE(ParseCallRange(L"every")->Holds(1));
}

TEST(ParseCallRange, RefusesTheRest) {
    for (const wchar_t* text : {L"", L"0", L"0+", L"4-2", L"-3", L"3-", L"+", L"a", L"1-2+"}) {
        EXPECT_FALSE(ParseCallRange(text)) << testing::PrintToString(std::wstring(text));
    }
}

}  // namespace
}  // namespace dev_controller
