#include "tools/quillon-log/time_point.h"

#include <gtest/gtest.h>

#include <ostream>

namespace quillon_log {
namespace {

/// "20261120-183005-123"
TimePoint At(const wchar_t* stamp) {
    return ParseStamp(stamp).value();
}

const wchar_t* const NowStamp = L"20261120-183005-123";

TEST(ParseStamp, TimeOfARecord_IsRead) {
    using namespace std::chrono_literals;
    EXPECT_EQ(ParseStamp(NowStamp),
              std::chrono::sys_days(std::chrono::year(2026) / 11 / 20) + 18h + 30min + 5s + 123ms);
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
    using namespace std::chrono_literals;
    constexpr auto Clock = 18h + 30min + 5s + 123ms;
    EXPECT_EQ(ParseStamp(L"20240229-183005-123"),
              std::chrono::sys_days(std::chrono::year(2024) / 2 / 29) + Clock);
    EXPECT_EQ(ParseStamp(L"20000229-183005-123"),
              std::chrono::sys_days(std::chrono::year(2000) / 2 / 29) + Clock);
}

struct TypedTime {
    const wchar_t* text;
    const wchar_t* stamp;
};

void PrintTo(const TypedTime& row, std::ostream* out) {
    *out << testing::PrintToString(row.text);
}

class ParseTyped : public testing::TestWithParam<TypedTime> {};

TEST_P(ParseTyped, IsReadInUtc) {
    EXPECT_EQ(ParseTime(GetParam().text, At(NowStamp)), At(GetParam().stamp));
}

INSTANTIATE_TEST_SUITE_P(
    Times, ParseTyped,
    testing::Values(
        TypedTime{L"2026-11-20", L"20261120-000000-000"},
        TypedTime{L"2026-11-20 18:30", L"20261120-183000-000"},
        TypedTime{L"2026-11-20T18:30", L"20261120-183000-000"},
        TypedTime{L"2026-11-20 18:30:05", L"20261120-183005-000"},
        TypedTime{L"2026-11-20T18:30:05Z", L"20261120-183005-000"},
        TypedTime{L"2026-11-20T18:30:05.123Z", NowStamp},
        TypedTime{L"today", L"20261120-000000-000"},
        TypedTime{L"yesterday", L"20261119-000000-000"}, TypedTime{L"5s", L"20261120-183000-123"},
        TypedTime{L"31m", L"20261120-175905-123"}, TypedTime{L"19h", L"20261119-233005-123"},
        TypedTime{L"20d", L"20261031-183005-123"}, TypedTime{L"1h30m", L"20261120-170005-123"},
        TypedTime{L"1d1h1m1s", L"20261119-172904-123"}, TypedTime{L"now", NowStamp},
        TypedTime{L"10:00", L"20261120-100000-000"}, TypedTime{L"10:00:05", L"20261120-100005-000"},
        TypedTime{L"10:00+02:00", L"20261120-080000-000"},
        TypedTime{L"2026-11-20T18:30+02:00", L"20261120-163000-000"},
        TypedTime{L"2026-11-20 18:30:05-05:30", L"20261121-000005-000"}));

TEST(ParseTime, WhatIsNoTime_IsRefused) {
    for (const wchar_t* text : {L"",
                                L"m",
                                L"-1m",
                                L"5",
                                L"5w",
                                L"2026-13-01",
                                L"2026-11-20 18",
                                L"tomorrow",
                                L"9999999999s",
                                L"30m1h",
                                L"1m1m",
                                L"1h ",
                                L"24:00",
                                L"10:60",
                                L"10:00:60",
                                L"10:0",
                                L"10:00+2",
                                L"10:00+02:60",
                                L"2026-11-20Z",
                                L"2026-11-20 ",
                                L"2026-11-20T",
                                L"2026-11-20 18:30:05.1",
                                L"2026-11-20 18:30:05.123x",
                                L"2026-02-29"}) {
        EXPECT_FALSE(ParseTime(text, At(NowStamp))) << text;
    }
}

}  // namespace
}  // namespace quillon_log
