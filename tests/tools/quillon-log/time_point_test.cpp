#include "tools/quillon-log/time_point.h"

#include <gtest/gtest.h>

#include <ostream>

namespace quillon_log {
namespace {

constexpr TimePoint Now = 20261120'183005'123;

TEST(ParseStamp, TimeOfARecord_IsRead) {
    EXPECT_EQ(ParseStamp(L"20261120-183005-123"), Now);
}

TEST(ParseStamp, OtherShapesAndImpossibleTimes_AreRefused) {
    for (const wchar_t* text :
         {L"", L"20261120-183005-12", L"20261120-183005-1234", L"20261120 183005-123",
          L"2026112x-183005-123", L"20261320-183005-123", L"20260230-183005-123",
          L"20261120-243005-123", L"20261120-186005-123", L"20230229-183005-123",
          L"21000229-183005-123"}) {
        EXPECT_FALSE(ParseStamp(text)) << text;
    }
}

TEST(ParseStamp, LeapDays_AreRead) {
    EXPECT_EQ(ParseStamp(L"20240229-183005-123"), 20240229'183005'123);
    EXPECT_EQ(ParseStamp(L"20000229-183005-123"), 20000229'183005'123);
}

struct TypedTime {
    const wchar_t* text;
    TimePoint time;
};

void PrintTo(const TypedTime& row, std::ostream* out) {
    *out << testing::PrintToString(row.text);
}

class ParseTyped : public testing::TestWithParam<TypedTime> {};

TEST_P(ParseTyped, IsReadInUtc) {
    EXPECT_EQ(ParseTime(GetParam().text, Now), GetParam().time);
}

INSTANTIATE_TEST_SUITE_P(Times, ParseTyped,
                         testing::Values(TypedTime{L"2026-11-20", 20261120'000000'000},
                                         TypedTime{L"2026-11-20 18:30", 20261120'183000'000},
                                         TypedTime{L"2026-11-20T18:30", 20261120'183000'000},
                                         TypedTime{L"2026-11-20 18:30:05", 20261120'183005'000},
                                         TypedTime{L"2026-11-20T18:30:05Z", 20261120'183005'000},
                                         TypedTime{L"2026-11-20T18:30:05.123Z", Now},
                                         TypedTime{L"today", 20261120'000000'000},
                                         TypedTime{L"yesterday", 20261119'000000'000},
                                         TypedTime{L"5s", 20261120'183000'123},
                                         TypedTime{L"31m", 20261120'175905'123},
                                         TypedTime{L"19h", 20261119'233005'123},
                                         TypedTime{L"20d", 20261031'183005'123}));

TEST(ParseTime, WhatIsNoTime_IsRefused) {
    for (const wchar_t* text : {L"", L"m", L"-1m", L"5", L"5w", L"2026-13-01", L"18:30",
                                L"2026-11-20 18", L"tomorrow", L"9999999999s"}) {
        EXPECT_FALSE(ParseTime(text, Now)) << text;
    }
}

}  // namespace
}  // namespace quillon_log
