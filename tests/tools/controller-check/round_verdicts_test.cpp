#include "tools/controller-check/round_verdicts.h"

#include <gmock/gmock.h>

#include "tests/tools/controller-check/story_builder.h"

namespace controller_check {
namespace {

using testing::HasSubstr;

std::string Narrow(const std::wstring& text) {
    return {text.begin(), text.end()};
}

MATCHER_P(Fails, text, "") {
    return arg.verdict == Verdict::Failed &&
           testing::ExplainMatchResult(HasSubstr(text), Narrow(arg.detail), result_listener);
}

MATCHER_P(Advises, text, "") {
    return arg.verdict == Verdict::Advice &&
           testing::ExplainMatchResult(HasSubstr(text), Narrow(arg.detail), result_listener);
}

MATCHER_P(IsOpen, text, "") {
    return arg.verdict == Verdict::Open &&
           testing::ExplainMatchResult(HasSubstr(text), Narrow(arg.detail), result_listener);
}

MATCHER(IsMet, "") {
    *result_listener << Narrow(arg.detail);
    return arg.verdict == Verdict::Met;
}

Story Whole(Round round = Round::Service) {
    return StoryBuilder(round).Started().Stopped().Freed().Logged(1).Get();
}

TEST(AllVerdicts, NothingHappened_NoneIsMetButThoseOfTheEnd) {
    const Story story = StoryBuilder().Enter(Call::ProcessEnd).Get();
    for (const Expectation& expectation : Expectations()) {
        if (expectation.judge == nullptr) {
            continue;
        }
        const std::wstring id = expectation.id;
        const bool isOfTheEnd = id == L"in-time" || id == L"no-crash" || id == L"no-exit";
        EXPECT_EQ(expectation.judge(story).verdict, isOfTheEnd ? Verdict::Met : Verdict::Open)
            << Narrow(id);
    }
}

TEST(AllVerdicts, Identifiers_AreDifferentAndSoAreTheFiles) {
    std::vector<std::wstring> ids;
    for (const Expectation& expectation : Expectations()) {
        EXPECT_EQ(std::find(ids.begin(), ids.end(), expectation.id), ids.end());
        EXPECT_EQ(expectation.judge == nullptr, ids.size() < FileExpectations);
        ids.emplace_back(expectation.id);
    }
}

TEST(JudgeDependencies, Errors_AreToldApartFromOtherOnes) {
    const auto failed = [](std::int64_t error, std::wstring_view missing) {
        return StoryBuilder()
            .Enter(Call::Attach)
            .Add(EventKind::LoadFailed, Call::Attach, error, missing)
            .Get();
    };
    EXPECT_THAT(JudgeDependencies(failed(126, L"a.dll")), Fails("a.dll isn't found"));
    EXPECT_THAT(JudgeDependencies(failed(126, L"")), Fails("indirectly"));
    EXPECT_THAT(JudgeDependencies(failed(127, L"")), Fails("lacks a function"));
    EXPECT_THAT(JudgeDependencies(failed(1114, L"")), IsOpen("another reason"));
    EXPECT_THAT(JudgeAttach(failed(1114, L"")), Fails("error 1114"));
    EXPECT_THAT(JudgeAttach(failed(126, L"a.dll")), IsOpen("wasn't loaded"));
}

TEST(JudgeResults, Codes_AreThoseThatTheHostTakes) {
    EXPECT_THAT(JudgeCreateResult(StoryBuilder().Did(Call::Create, -1).Get()),
                Fails("create gave -1"));
    EXPECT_THAT(JudgeActivateResult(StoryBuilder().Did(Call::Activate, 3).Get()), IsMet());
    EXPECT_THAT(JudgeActivateResult(StoryBuilder().Did(Call::Activate, 2).Get()),
                Fails("Activate gave 2"));
    EXPECT_THAT(JudgeLoadResult(StoryBuilder().Did(Call::LoadAddons, 3).Get()),
                Fails("LoadAddons gave 3"));
    EXPECT_THAT(JudgeLoadResult(StoryBuilder().Enter(Call::LoadAddons).Get()),
                IsOpen("didn't return"));
    EXPECT_THAT(JudgeNotifyResult(StoryBuilder().Get()), IsOpen("wasn't called"));
}

TEST(JudgeResults, StartBesideStop_MayBeRefused) {
    const Story story = StoryBuilder(Round::Shutdown)
                            .Did(Call::Create)
                            .Did(Call::LoadAddons, 81)
                            .Did(Call::NotifyOnStop, 81)
                            .Did(Call::Deactivate, 81)
                            .Did(Call::Free, 81)
                            .Get();
    EXPECT_THAT(JudgeLoadResult(story), IsOpen("may be refused"));
    EXPECT_THAT(JudgeNotifyResult(story), IsOpen("may be refused"));
    EXPECT_THAT(JudgeDeactivateResult(story), IsOpen("may be refused"));
    EXPECT_THAT(JudgeFreeResult(story), Fails("free gave 81"));
}

TEST(JudgeDeactivateResult, AfterAFailedActivation_CountsOnlyInTheStop) {
    StoryBuilder builder;
    builder.Did(Call::Activate, 3).Did(Call::Deactivate, 9);
    EXPECT_THAT(JudgeDeactivateResult(builder.Get()), IsOpen("no stop"));
    builder.Did(Call::NotifyOnStop).Did(Call::Deactivate, 0);
    EXPECT_THAT(JudgeDeactivateResult(builder.Get()), IsMet());
}

TEST(JudgeRow, FaultAtCreation_IsNotOneOfLater) {
    const Story early =
        StoryBuilder().Did(Call::Create).Add(EventKind::BadRow, Call::Create, 0, L"bad").Get();
    EXPECT_THAT(JudgeControllerRow(early), Fails("bad"));
    EXPECT_THAT(JudgeRowCallable(early), IsOpen("wasn't called"));
    const Story late = StoryBuilder()
                           .Did(Call::Create)
                           .Did(Call::LoadAddons)
                           .Add(EventKind::BadRow, Call::Activate, 0, L"bad")
                           .Get();
    EXPECT_THAT(JudgeControllerRow(late), IsMet());
    EXPECT_THAT(JudgeRowCallable(late), Fails("before Activate: bad"));
}

TEST(JudgeTooEarly, PermissionBeforeTheReturn_FailsAndAfterItDoesNot) {
    EXPECT_THAT(JudgeTooEarly(StoryBuilder()
                                  .Enter(Call::Create)
                                  .Called(HostFunction::Interrupt)
                                  .Add(EventKind::Returned, Call::Create)
                                  .Get()),
                Fails("OrrinInterruptCallback"));
    EXPECT_THAT(JudgeTooEarly(StoryBuilder()
                                  .Enter(Call::Create)
                                  .Called(HostFunction::Register)
                                  .Called(HostFunction::SetCallback)
                                  .Add(EventKind::Returned, Call::Create)
                                  .Called(HostFunction::EnableStop)
                                  .Get()),
                IsMet());
}

TEST(JudgeTooLate, CallDuringFree_FailsAndBeforeItDoesNot) {
    EXPECT_THAT(JudgeTooLate(Whole()), IsMet());
    EXPECT_THAT(
        JudgeTooLate(
            StoryBuilder().Started().Stopped().Called(HostFunction::EnableStop).Freed().Get()),
        IsMet());
    for (const HostFunction function : {HostFunction::EnableStop, HostFunction::Interrupt}) {
        EXPECT_THAT(JudgeTooLate(StoryBuilder()
                                     .Did(Call::Create)
                                     .Enter(Call::Free)
                                     .Called(function)
                                     .Add(EventKind::Returned, Call::Free)
                                     .Get()),
                    Fails("during free"));
    }
    EXPECT_THAT(JudgeTooLate(StoryBuilder().Did(Call::Create).Get()), IsOpen("wasn't called"));
}

TEST(JudgeGoesOn, Interrupt_IsAllowedButWorthAWord) {
    EXPECT_THAT(JudgeGoesOn(Whole()), IsMet());
    EXPECT_THAT(JudgeGoesOn(StoryBuilder().Started().Called(HostFunction::Interrupt).Get()),
                Advises("OrrinInterruptCallback"));
}

TEST(JudgeStopPermission, Missing_IsWorthAWordForAnActiveLibraryThatHadTime) {
    EXPECT_THAT(JudgeStopPermission(Whole()), Advises("wasn't called"));
    EXPECT_THAT(JudgeStopPermission(Whole(Round::Console)), Advises("wasn't called"));
    EXPECT_THAT(JudgeStopPermission(Whole(Round::StopAtOnce)), IsOpen("only looked for"));
    EXPECT_THAT(JudgeStopPermission(StoryBuilder().Started().Get()), IsOpen("active"));
    EXPECT_THAT(
        JudgeStopPermission(StoryBuilder().Started().Called(HostFunction::EnableStop).Get()),
        IsMet());
    EXPECT_THAT(JudgeStopPermission(
                    StoryBuilder().Did(Call::Create).Did(Call::Activate, 3).Stopped().Get()),
                IsOpen("active"));
}

TEST(JudgeAfterFree, CallsBeforeAndAfter_AreToldApart) {
    EXPECT_THAT(JudgeAfterFree(Whole()), IsMet());
    EXPECT_THAT(JudgeAfterFree(StoryBuilder()
                                   .Did(Call::Create)
                                   .Enter(Call::Free)
                                   .Called(HostFunction::EnableStop)
                                   .Add(EventKind::Returned, Call::Free)
                                   .Add(EventKind::Watched)
                                   .Get()),
                IsMet());
    EXPECT_THAT(JudgeAfterFree(StoryBuilder()
                                   .Did(Call::Create)
                                   .Did(Call::Free)
                                   .Called(HostFunction::Log)
                                   .Add(EventKind::Watched)
                                   .Get()),
                Fails("OrrinLoggingCallback was called 1 ms after free"));
    EXPECT_THAT(JudgeAfterFree(StoryBuilder().Did(Call::Create).Did(Call::Free).Get()),
                IsOpen("broke off"));
}

TEST(JudgeAfterFree, Unpacking_ReleasesTheRecordAlone) {
    const auto unpacked = [] { return StoryBuilder(Round::Unpack).Did(Call::Bootstrap); };
    EXPECT_THAT(JudgeAfterFree(unpacked().Called(HostFunction::Log).Add(EventKind::Watched).Get()),
                IsMet());
    EXPECT_THAT(JudgeAfterFree(unpacked().Add(EventKind::TouchedReleased).Get()),
                Fails("after OrrinBootstrap"));
    EXPECT_THAT(JudgeAfterFree(unpacked().Get()), IsOpen("broke off"));
}

TEST(JudgeInTime, Overdue_NamesCallAndLimit) {
    EXPECT_THAT(JudgeInTime(StoryBuilder().Overdue(Call::Activate).Get()),
                Fails("Activate wasn't over after 1.5 s"));
    EXPECT_THAT(JudgeInTime(StoryBuilder().Overdue(Call::None).Get()), Fails("between"));
    EXPECT_THAT(JudgeNoExit(StoryBuilder().Overdue(Call::None).Get()), IsOpen("otherwise"));
}

TEST(JudgeNoCrash, ExitCodes_AreToldApart) {
    const auto ended = [](std::uint32_t code) {
        return StoryBuilder().Enter(Call::Create).Ended(code).Get();
    };
    for (const std::uint32_t code : {0x80000003U, 0xC0000005U, 0xE06D7363U}) {
        EXPECT_THAT(JudgeNoCrash(ended(code)), Fails("during create"));
        EXPECT_THAT(JudgeNoExit(ended(code)), IsOpen("otherwise"));
    }
    for (const std::uint32_t code : {0U, 1U, 0x7FFFFFFFU}) {
        EXPECT_THAT(JudgeNoCrash(ended(code)), IsMet());
        EXPECT_THAT(JudgeNoExit(ended(code)), Fails("during create"));
    }
}

TEST(JudgeNoExit, LostThread_IsSeenByTheCallThatNeverReturned) {
    EXPECT_THAT(JudgeNoExit(Whole()), IsMet());
    EXPECT_THAT(JudgeNoExit(StoryBuilder().Did(Call::Create).Enter(Call::Activate).Freed().Get()),
                Fails("ended during Activate"));
    EXPECT_THAT(JudgeNoExit(StoryBuilder(Round::Shutdown)
                                .Did(Call::Create)
                                .Did(Call::Deactivate)
                                .On(2)
                                .Enter(Call::Deactivate)
                                .On(1)
                                .Freed()
                                .Get()),
                Fails("ended during Deactivate"));
    EXPECT_THAT(JudgeNoExit(StoryBuilder().Started().Stopped().Freed().Ended(5).Get()),
                Fails("made 5"));
}

}  // namespace
}  // namespace controller_check
