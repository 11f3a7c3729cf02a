#include "tools/quillon-log/record_filter.h"

#include <gtest/gtest.h>

namespace quillon_log {
namespace {

Record Make(const wchar_t* level) {
    Record record;
    record.time = 20261120'183005'123;
    record.level = level;
    record.component = L"worker";
    record.message = L"Job 7 \x0424\x0438\x043D\x0438\x0448";
    return record;
}

TEST(RecordFilter, NoCondition_LetsEverythingPass) {
    EXPECT_TRUE(RecordFilter().Passes(Make(L"V")));
    EXPECT_TRUE(RecordFilter().Passes(Record()));
}

TEST(RecordFilter, Level_LetsItselfAndLouderOnesPass) {
    RecordFilter filter;
    filter.leastLevel = LevelRank(L"warning");
    EXPECT_TRUE(filter.Passes(Make(L"E")));
    EXPECT_TRUE(filter.Passes(Make(L"W")));
    EXPECT_FALSE(filter.Passes(Make(L"T")));
    EXPECT_FALSE(filter.Passes(Make(L"V")));
    EXPECT_FALSE(filter.Passes(Record())) << "a record without a level";
}

TEST(RecordFilter, Span_HoldsItsBeginningAndNotItsEnd) {
    RecordFilter filter;
    filter.since = 20261120'183005'123;
    EXPECT_TRUE(filter.Passes(Make(L"T")));
    filter.since = 20261120'183005'124;
    EXPECT_FALSE(filter.Passes(Make(L"T")));
    filter.since.reset();
    filter.until = 20261120'183005'123;
    EXPECT_FALSE(filter.Passes(Make(L"T")));
    filter.until = 20261120'183005'124;
    EXPECT_TRUE(filter.Passes(Make(L"T")));
}

TEST(RecordFilter, Component_IsAnyOfTheNamedOnesWhole) {
    RecordFilter filter;
    filter.components = {L"other", L"WORKER"};
    EXPECT_TRUE(filter.Passes(Make(L"T")));
    filter.components = {L"work"};
    EXPECT_FALSE(filter.Passes(Make(L"T")));
}

TEST(RecordFilter, Text_IsFoundAnywhereIgnoringCaseOfEveryAlphabet) {
    RecordFilter filter;
    filter.text = L"JOB";
    EXPECT_TRUE(filter.Passes(Make(L"T")));
    filter.text = L"\x0444\x0418\x041D";
    EXPECT_TRUE(filter.Passes(Make(L"T")));
    filter.text = L"job 8";
    EXPECT_FALSE(filter.Passes(Make(L"T")));
}

TEST(LevelRank, LettersAndNames_AreTheSameLevels) {
    EXPECT_EQ(LevelRank(L"E"), LevelRank(L"Error"));
    EXPECT_EQ(LevelRank(L"v"), 3);
    EXPECT_FALSE(LevelRank(L"loud"));
}

}  // namespace
}  // namespace quillon_log
