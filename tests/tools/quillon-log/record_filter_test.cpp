#include "tools/quillon-log/record_filter.h"

#include <gtest/gtest.h>

#include "tools/quillon-log/case_fold.h"

namespace quillon_log {
namespace {

Record Make(const wchar_t* level) {
    Record record;
    record.time = ParseStamp(L"20261120-183005-123");
    record.level = level;
    record.component = L"worker";
    record.message = L"Job 7 \x0424\x0438\x043D\x0438\x0448";
    return record;
}

bool Passes(const RecordFilter& filter, const Record& record) {
    return filter.IsInTime(record) && filter.Matches(record);
}

TEST(RecordFilter, NoCondition_LetsEverythingPass) {
    EXPECT_TRUE(Passes(RecordFilter(), Make(L"V")));
    EXPECT_TRUE(Passes(RecordFilter(), Record()));
}

TEST(RecordFilter, Level_LetsItselfAndLouderOnesPass) {
    RecordFilter filter;
    filter.leastLevel = LevelRank(L"warning");
    EXPECT_TRUE(Passes(filter, Make(L"E")));
    EXPECT_TRUE(Passes(filter, Make(L"W")));
    EXPECT_FALSE(Passes(filter, Make(L"T")));
    EXPECT_FALSE(Passes(filter, Make(L"V")));
    EXPECT_FALSE(Passes(filter, Record())) << "a record without a level";
}

TEST(RecordFilter, Span_HoldsItsBeginningAndNotItsEnd) {
    RecordFilter filter;
    filter.since = ParseStamp(L"20261120-183005-123");
    EXPECT_TRUE(Passes(filter, Make(L"T")));
    filter.since = ParseStamp(L"20261120-183005-124");
    EXPECT_FALSE(Passes(filter, Make(L"T")));
    filter.since.reset();
    filter.until = ParseStamp(L"20261120-183005-123");
    EXPECT_FALSE(Passes(filter, Make(L"T")));
    filter.until = ParseStamp(L"20261120-183005-124");
    EXPECT_TRUE(Passes(filter, Make(L"T")));
}

TEST(RecordFilter, Component_IsAnyOfTheNamedOnesWhole) {
    RecordFilter filter;
    filter.components = {L"other", L"WORKER"};
    EXPECT_TRUE(Passes(filter, Make(L"T")));
    filter.components = {L"work"};
    EXPECT_FALSE(Passes(filter, Make(L"T")));
}

TEST(RecordFilter, Text_IsFoundAnywhereIgnoringCaseOfEveryAlphabet) {
    RecordFilter filter;
    filter.texts = {L"JOB"};
    EXPECT_TRUE(Passes(filter, Make(L"T")));
    filter.texts = {Capitals(L"\x0444\x0418\x041D")};
    EXPECT_TRUE(Passes(filter, Make(L"T")));
    filter.texts = {L"JOB 8"};
    EXPECT_FALSE(Passes(filter, Make(L"T")));
}

TEST(RecordFilter, SeveralTexts_AreAlternatives) {
    RecordFilter filter;
    filter.texts = {L"NOTHING", L"JOB"};
    EXPECT_TRUE(Passes(filter, Make(L"T")));
    filter.isInverted = true;
    EXPECT_FALSE(Passes(filter, Make(L"T")));
    filter.texts = {L"NOTHING"};
    EXPECT_TRUE(Passes(filter, Make(L"T")));
}

TEST(RecordFilter, Inverted_LeavesTheOtherConditionsAsTheyAre) {
    RecordFilter filter;
    filter.texts = {L"NOTHING"};
    filter.isInverted = true;
    filter.leastLevel = LevelRank(L"error");
    EXPECT_FALSE(Passes(filter, Make(L"T")));
    EXPECT_TRUE(Passes(filter, Make(L"E")));
}

TEST(LevelRank, LettersAndNames_AreTheSameLevels) {
    EXPECT_EQ(LevelRank(L"E"), LevelRank(L"Error"));
    EXPECT_EQ(LevelRank(L"v"), 3);
    EXPECT_FALSE(LevelRank(L"loud"));
}

}  // namespace
}  // namespace quillon_log
