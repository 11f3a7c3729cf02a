#include "tests/fuzz/calendar.h"

namespace fuzz {
namespace {

constexpr unsigned FirstYear = 1601;
constexpr std::uint64_t MillisecondsOfADay = 24 * 60 * 60 * 1000;

/// The parts of a time; what stands above the month is the year.
struct Parts {
    std::uint64_t year;
    unsigned month;
    unsigned day;
    unsigned hour;
    unsigned minute;
    unsigned second;
    unsigned millisecond;
};

Parts PartsOf(std::uint64_t time) {
    const auto two = [time](std::uint64_t above) {
        return static_cast<unsigned>(time / above % 100);
    };
    return {time / 10000000000000,
            two(100000000000),
            two(1000000000),
            two(10000000),
            two(100000),
            two(1000),
            static_cast<unsigned>(time % 1000)};
}

unsigned DaysOf(std::uint64_t year, unsigned month) {
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    switch (month) {
        case 2:
            return leap ? 29 : 28;
        case 4:
        case 6:
        case 9:
        case 11:
            return 30;
        default:
            return 31;
    }
}

unsigned DaysOf(std::uint64_t year) {
    return 337 + DaysOf(year, 2);
}

std::uint64_t MillisecondsOf(const Parts& parts) {
    std::uint64_t days = parts.day - 1;
    for (std::uint64_t year = FirstYear; year < parts.year; ++year) {
        days += DaysOf(year);
    }
    for (unsigned month = 1; month < parts.month; ++month) {
        days += DaysOf(parts.year, month);
    }
    return days * MillisecondsOfADay +
           ((parts.hour * 60 + parts.minute) * 60 + parts.second) * 1000 + parts.millisecond;
}

std::uint64_t TimeOf(std::uint64_t milliseconds) {
    std::uint64_t days = milliseconds / MillisecondsOfADay;
    const std::uint64_t rest = milliseconds % MillisecondsOfADay;
    std::uint64_t year = FirstYear;
    for (; days >= DaysOf(year); ++year) {
        days -= DaysOf(year);
    }
    unsigned month = 1;
    for (; days >= DaysOf(year, month); ++month) {
        days -= DaysOf(year, month);
    }
    const std::uint64_t day = (year * 100 + month) * 100 + days + 1;
    const std::uint64_t clock = (rest / 3600000 * 100 + rest / 60000 % 60) * 100 + rest / 1000 % 60;
    return (day * 1000000 + clock) * 1000 + rest % 1000;
}

}  // namespace

bool IsRealTime(std::uint64_t time) {
    const Parts parts = PartsOf(time);
    return parts.year >= FirstYear && parts.month >= 1 && parts.month <= 12 && parts.day >= 1 &&
           parts.day <= DaysOf(parts.year, parts.month) && parts.hour < 24 && parts.minute < 60 &&
           parts.second < 60;
}

std::uint64_t TimeBefore(std::uint64_t time, std::uint64_t seconds) {
    const std::uint64_t milliseconds = MillisecondsOf(PartsOf(time));
    const std::uint64_t back = seconds * 1000;
    return TimeOf(back < milliseconds ? milliseconds - back : 0);
}

}  // namespace fuzz
