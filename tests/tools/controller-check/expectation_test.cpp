#include "tools/controller-check/expectation.h"

#include <gmock/gmock.h>

namespace controller_check {
namespace {

using testing::ElementsAre;

ImageFacts GoodFacts() {
    ImageFacts facts;
    facts.isImage = true;
    facts.isLibrary = true;
    facts.machine = 0x8664;
    facts.exports = {"OrrinBootstrap", "OrrinCreateComponentModelController",
                     "OrrinFreeComponentModelController"};
    return facts;
}

std::vector<Verdict> VerdictsOf(unsigned long readError, const ImageFacts& facts) {
    std::vector<Verdict> verdicts;
    for (const Finding& finding : JudgeFile(readError, facts)) {
        verdicts.push_back(finding.verdict);
    }
    return verdicts;
}

constexpr Verdict Met = Verdict::Met;
constexpr Verdict Failed = Verdict::Failed;
constexpr Verdict Open = Verdict::Open;

TEST(JudgeFile, GoodLibrary_MeetsAll) {
    EXPECT_THAT(VerdictsOf(0, GoodFacts()), ElementsAre(Met, Met, Met, Met));
}

TEST(JudgeFile, EachFault_LeavesTheLaterOnesOpen) {
    EXPECT_THAT(VerdictsOf(5, {}), ElementsAre(Failed, Open, Open, Open));
    EXPECT_THAT(VerdictsOf(0, {}), ElementsAre(Met, Failed, Open, Open));
    ImageFacts facts = GoodFacts();
    facts.isLibrary = false;
    EXPECT_THAT(VerdictsOf(0, facts), ElementsAre(Met, Failed, Open, Open));
    facts = GoodFacts();
    facts.machine = 0xAA64;
    EXPECT_THAT(VerdictsOf(0, facts), ElementsAre(Met, Met, Failed, Open));
    EXPECT_EQ(JudgeFile(0, facts)[2].detail, L"it is built for another processor");
}

TEST(JudgeFile, MissingExports_AreAllNamed) {
    ImageFacts facts = GoodFacts();
    facts.exports = {"OrrinBootstrap@4", "OrrinCreateComponentModelController"};
    EXPECT_EQ(JudgeFile(0, facts)[3].detail,
              L"missing: OrrinFreeComponentModelController, OrrinBootstrap");
}

}  // namespace
}  // namespace controller_check
