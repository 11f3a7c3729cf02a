#include "tools/quillon-log/time_point.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cwchar>

#include "framework/system/platform.h"

namespace quillon_log {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

const wchar_t* const TimeForms =
    L"2026-11-20, \"2026-11-20 18:30\", 2026-11-20T18:30:05.123, each also with Z or an offset "
    L"such "
    L"as +02:00; 18:30 or 18:30:05 of today; now, today or yesterday; an age such as 90s, 15m, "
    L"1h30m or 7d";

namespace {

bool IsDigit(wchar_t character) {
    return character >= L'0' && character <= L'9';
}

/// Reads exactly `count` digits off the beginning.
std::optional<int> TakeDigits(std::wstring_view& text, std::size_t count) {
    if (text.size() < count) {
        return std::nullopt;
    }
    int value = 0;
    for (std::size_t index = 0; index < count; ++index) {
        if (!IsDigit(text[index])) {
            return std::nullopt;
        }
        value = value * 10 + (text[index] - L'0');
    }
    text.remove_prefix(count);
    return value;
}

bool TakeSign(std::wstring_view& text, wchar_t sign) {
    if (text.empty() || text.front() != sign) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

/// A number between two limits, of `count` digits.
std::optional<int> TakeNumber(std::wstring_view& text, std::size_t count, int most) {
    const std::optional<int> number = TakeDigits(text, count);
    return number && *number <= most ? number : std::nullopt;
}

std::optional<TimePoint> DayOf(int year, int month, int day) {
    const std::chrono::year_month_day date(std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day)));
    if (!date.ok()) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date);
}

TimePoint StartOfDay(TimePoint time) {
    return std::chrono::floor<days>(time);
}

SYSTEMTIME ToSystemTime(TimePoint time) {
    const auto day = std::chrono::floor<days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    SYSTEMTIME parts = {};
    parts.wYear = static_cast<WORD>(static_cast<int>(date.year()));
    parts.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    parts.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
    parts.wHour = static_cast<WORD>(clock.hours().count());
    parts.wMinute = static_cast<WORD>(clock.minutes().count());
    parts.wSecond = static_cast<WORD>(clock.seconds().count());
    parts.wMilliseconds = static_cast<WORD>(clock.subseconds().count());
    return parts;
}

std::optional<TimePoint> FromSystemTime(const SYSTEMTIME& parts) {
    std::optional<TimePoint> time = DayOf(parts.wYear, parts.wMonth, parts.wDay);
    if (time) {
        *time += hours(parts.wHour) + minutes(parts.wMinute) + seconds(parts.wSecond) +
                 milliseconds(parts.wMilliseconds);
    }
    return time;
}

/// A reading of the local clock as a time.
TimePoint FromLocal(TimePoint reading) {
    const SYSTEMTIME local = ToSystemTime(reading);
    SYSTEMTIME utc = {};
    if (::TzSpecificLocalTimeToSystemTime(nullptr, &local, &utc) == FALSE) {
        return reading;
    }
    return FromSystemTime(utc).value_or(reading);
}

/// "90s", "1h30m": each unit at most once, from the greatest down.
std::optional<milliseconds> ParseAge(std::wstring_view text) {
    constexpr std::size_t MostDigits = 9;
    static constexpr std::array<std::pair<wchar_t, seconds>, 4> Units = {
        {{L'd', days(1)}, {L'h', hours(1)}, {L'm', minutes(1)}, {L's', seconds(1)}}};
    milliseconds age{0};
    std::size_t unit = 0;
    if (text.empty()) {
        return std::nullopt;
    }
    while (!text.empty()) {
        std::size_t digits = 0;
        while (digits < text.size() && IsDigit(text[digits])) {
            ++digits;
        }
        const std::optional<int> count =
            digits == 0 || digits > MostDigits ? std::nullopt : TakeDigits(text, digits);
        while (unit < Units.size() && (text.empty() || text.front() != Units[unit].first)) {
            ++unit;
        }
        if (!count || unit == Units.size()) {
            return std::nullopt;
        }
        age += *count * Units[unit++].second;
        text.remove_prefix(1);
    }
    return age;
}

/// "18:30", "18:30:05" or "18:30:05.123" off the beginning.
std::optional<milliseconds> TakeClock(std::wstring_view& text) {
    const std::optional<int> hour = TakeNumber(text, 2, 23);
    if (!hour || !TakeSign(text, L':')) {
        return std::nullopt;
    }
    const std::optional<int> minute = TakeNumber(text, 2, 59);
    if (!minute) {
        return std::nullopt;
    }
    milliseconds time = hours(*hour) + minutes(*minute);
    if (TakeSign(text, L':')) {
        const std::optional<int> second = TakeNumber(text, 2, 59);
        if (!second) {
            return std::nullopt;
        }
        time += seconds(*second);
        if (TakeSign(text, L'.')) {
            const std::optional<int> part = TakeDigits(text, 3);
            if (!part) {
                return std::nullopt;
            }
            time += milliseconds(*part);
        }
    }
    return time;
}

/// "+02:00" or "Z"; nothing if the rest is something else.
std::optional<minutes> ParseOffset(std::wstring_view text) {
    if (text == L"Z" || text == L"z") {
        return minutes(0);
    }
    const bool isBehind = !text.empty() && text.front() == L'-';
    if (!TakeSign(text, L'+') && !TakeSign(text, L'-')) {
        return std::nullopt;
    }
    const std::optional<int> hour = TakeNumber(text, 2, 23);
    if (!hour || !TakeSign(text, L':')) {
        return std::nullopt;
    }
    const std::optional<int> minute = TakeNumber(text, 2, 59);
    if (!minute || !text.empty()) {
        return std::nullopt;
    }
    const minutes offset = hours(*hour) + minutes(*minute);
    return isBehind ? -offset : offset;
}

std::optional<TimePoint> TakeDate(std::wstring_view& text) {
    const std::optional<int> year = TakeDigits(text, 4);
    if (!year || !TakeSign(text, L'-')) {
        return std::nullopt;
    }
    const std::optional<int> month = TakeDigits(text, 2);
    if (!month || !TakeSign(text, L'-')) {
        return std::nullopt;
    }
    const std::optional<int> day = TakeDigits(text, 2);
    return day ? DayOf(*year, *month, *day) : std::nullopt;
}

/// A date, a clock time of `today`, or both.
std::optional<TimePoint> ParseDateAndClock(std::wstring_view text, TimePoint today, Clock clock) {
    std::wstring_view rest = text;
    std::optional<TimePoint> time = TakeDate(rest);
    if (!time) {
        rest = text;
        time = today;
    } else if (!rest.empty() && !TakeSign(rest, L'T') && !TakeSign(rest, L' ')) {
        return std::nullopt;
    }
    if (rest.size() != text.size() && rest.empty()) {
        return text.size() == 10 ? std::optional(clock == Clock::Local ? FromLocal(*time) : *time)
                                 : std::nullopt;
    }
    const std::optional<milliseconds> ofDay = TakeClock(rest);
    if (!ofDay) {
        return std::nullopt;
    }
    *time += *ofDay;
    if (!rest.empty()) {
        const std::optional<minutes> offset = ParseOffset(rest);
        return offset ? std::optional(*time - *offset) : std::nullopt;
    }
    return clock == Clock::Local ? FromLocal(*time) : *time;
}

void AppendNumber(std::wstring& text, int number, std::size_t width) {
    std::array<wchar_t, 8> digits{};
    for (std::size_t index = width; index > 0; --index) {
        digits[index - 1] = static_cast<wchar_t>(L'0' + number % 10);
        number /= 10;
    }
    text.append(digits.data(), width);
}

}  // namespace

std::optional<TimePoint> ParseStamp(std::wstring_view text) {
    constexpr std::size_t Length = 19;
    if (text.size() != Length || text[8] != L'-' || text[15] != L'-') {
        return std::nullopt;
    }
    const auto number = [&text](std::size_t at, std::size_t count) {
        std::wstring_view digits = text.substr(at, count);
        return TakeDigits(digits, count).value_or(-1);
    };
    const int year = number(0, 4);
    const int month = number(4, 2);
    const int day = number(6, 2);
    const int hour = number(9, 2);
    const int minute = number(11, 2);
    const int second = number(13, 2);
    const int part = number(16, 3);
    if (year < 0 || month < 0 || day < 0 || hour < 0 || hour > 23 || minute < 0 || minute > 59 ||
        second < 0 || second > 59 || part < 0) {
        return std::nullopt;
    }
    std::optional<TimePoint> time = DayOf(year, month, day);
    if (time) {
        *time += hours(hour) + minutes(minute) + seconds(second) + milliseconds(part);
    }
    return time;
}

std::optional<TimePoint> ParseTime(std::wstring_view text, TimePoint now, Clock clock) {
    const minutes offset = clock == Clock::Local ? LocalOffset(now) : minutes(0);
    const TimePoint today = StartOfDay(now + offset);
    const auto dayFromToday = [&](int count) {
        const TimePoint day = today + days(count);
        return clock == Clock::Local ? FromLocal(day) : day;
    };
    if (text == L"now") {
        return now;
    }
    if (text == L"today") {
        return dayFromToday(0);
    }
    if (text == L"yesterday") {
        return dayFromToday(-1);
    }
    if (const std::optional<milliseconds> age = ParseAge(text)) {
        return now - *age;
    }
    return ParseDateAndClock(text, today, clock);
}

void AppendTime(std::wstring& text, TimePoint time, wchar_t between, minutes offset) {
    // Each record goes through here, so the text is put together without any call.
    const TimePoint shown = time + offset;
    const auto day = std::chrono::floor<days>(shown);
    const std::chrono::year_month_day date(day);
    auto left = static_cast<unsigned>((shown - day).count());
    std::array<wchar_t, 23> digits{L"0000-00-00 00:00:00.00"};
    const auto put = [&digits](std::size_t end, unsigned number, std::size_t width) {
        for (std::size_t index = end; index > end - width; --index) {
            digits[index - 1] = static_cast<wchar_t>(L'0' + number % 10);
            number /= 10;
        }
    };
    put(4, static_cast<unsigned>(static_cast<int>(date.year())), 4);
    put(7, static_cast<unsigned>(date.month()), 2);
    put(10, static_cast<unsigned>(date.day()), 2);
    digits[10] = between;
    put(23, left % 1000, 3);
    left /= 1000;
    put(19, left % 60, 2);
    left /= 60;
    put(16, left % 60, 2);
    put(13, left / 60, 2);
    text.append(digits.data(), digits.size());
}

void AppendStamp(std::wstring& text, TimePoint time) {
    const SYSTEMTIME parts = ToSystemTime(time);
    AppendNumber(text, parts.wYear, 4);
    AppendNumber(text, parts.wMonth, 2);
    AppendNumber(text, parts.wDay, 2);
    text += L'-';
    AppendNumber(text, parts.wHour, 2);
    AppendNumber(text, parts.wMinute, 2);
    AppendNumber(text, parts.wSecond, 2);
    text += L'-';
    AppendNumber(text, parts.wMilliseconds, 3);
}

minutes LocalOffset(TimePoint time) {
    const SYSTEMTIME utc = ToSystemTime(time);
    SYSTEMTIME local = {};
    if (::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local) == FALSE) {
        return minutes(0);
    }
    const std::optional<TimePoint> reading = FromSystemTime(local);
    return reading ? std::chrono::floor<minutes>(*reading - time) : minutes(0);
}

TimePoint CurrentTime() {
    return std::chrono::floor<milliseconds>(std::chrono::system_clock::now());
}

TimePoint FromFileTime(unsigned long low, unsigned long high) {
    constexpr std::int64_t TicksOfAMillisecond = 10000;
    constexpr TimePoint Epoch = std::chrono::sys_days(std::chrono::year(1601) / 1 / 1);
    const std::uint64_t ticks = (std::uint64_t{high} << 32) | low;
    return Epoch + milliseconds(static_cast<std::int64_t>(ticks) / TicksOfAMillisecond);
}

}  // namespace quillon_log
