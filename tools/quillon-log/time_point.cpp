#include "tools/quillon-log/time_point.h"

#include <chrono>
#include <cstddef>
#include <limits>

#include "framework/system/platform.h"

namespace quillon_log {
namespace {

constexpr std::uint64_t TicksOfASecond = 10000000;

std::optional<unsigned> ParseDigits(std::wstring_view text) {
    constexpr std::size_t MostDigits = 9;
    if (text.empty() || text.size() > MostDigits) {
        return std::nullopt;
    }
    unsigned value = 0;
    for (const wchar_t digit : text) {
        if (digit < L'0' || digit > L'9') {
            return std::nullopt;
        }
        value = value * 10 + static_cast<unsigned>(digit - L'0');
    }
    return value;
}

TimePoint Join(const SYSTEMTIME& time) {
    TimePoint joined = time.wYear;
    for (const WORD part : {time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond}) {
        joined = joined * 100 + part;
    }
    return joined * 1000 + time.wMilliseconds;
}

SYSTEMTIME Take(TimePoint time) {
    SYSTEMTIME parts = {};
    const auto take = [&time](unsigned base) {
        const auto part = static_cast<WORD>(time % base);
        time /= base;
        return part;
    };
    parts.wMilliseconds = take(1000);
    parts.wSecond = take(100);
    parts.wMinute = take(100);
    parts.wHour = take(100);
    parts.wDay = take(100);
    parts.wMonth = take(100);
    parts.wYear = take(10000);
    return parts;
}

TimePoint Earlier(TimePoint now, std::uint64_t seconds) {
    const SYSTEMTIME parts = Take(now);
    FILETIME fileTime = {};
    ::SystemTimeToFileTime(&parts, &fileTime);
    ULARGE_INTEGER ticks = {};
    ticks.LowPart = fileTime.dwLowDateTime;
    ticks.HighPart = fileTime.dwHighDateTime;
    const std::uint64_t back = seconds * TicksOfASecond;
    ticks.QuadPart = back < ticks.QuadPart ? ticks.QuadPart - back : 0;
    fileTime.dwLowDateTime = ticks.LowPart;
    fileTime.dwHighDateTime = ticks.HighPart;
    SYSTEMTIME earlier = {};
    ::FileTimeToSystemTime(&fileTime, &earlier);
    return Join(earlier);
}

TimePoint StartOfDay(TimePoint time) {
    constexpr TimePoint TimeOfDay = 1000000000;
    return time / TimeOfDay * TimeOfDay;
}

std::optional<std::uint64_t> ParseAge(std::wstring_view text) {
    if (text.size() < 2) {
        return std::nullopt;
    }
    const std::optional<unsigned> count = ParseDigits(text.substr(0, text.size() - 1));
    if (!count) {
        return std::nullopt;
    }
    switch (text.back()) {
        case L's':
            return *count;
        case L'm':
            return *count * std::uint64_t{60};
        case L'h':
            return *count * std::uint64_t{60 * 60};
        case L'd':
            return *count * std::uint64_t{24 * 60 * 60};
        default:
            return std::nullopt;
    }
}

/// Wine's own check takes the 29th of February for a day of every year.
bool IsRealDay(const SYSTEMTIME& time) {
    const std::chrono::year_month_day day(std::chrono::year(time.wYear),
                                          std::chrono::month(time.wMonth),
                                          std::chrono::day(time.wDay));
    return day.ok();
}

bool IsRealTime(const SYSTEMTIME& time) {
    FILETIME ignored = {};
    return IsRealDay(time) && ::SystemTimeToFileTime(&time, &ignored) != FALSE;
}

/// Reads by a shape in which a letter stands for a digit of a part of the time and everything else
/// for itself.
std::optional<TimePoint> ParseByShape(std::wstring_view text, std::wstring_view shape) {
    if (text.size() != shape.size()) {
        return std::nullopt;
    }
    SYSTEMTIME time = {};
    for (std::size_t index = 0; index < text.size(); ++index) {
        WORD* part = nullptr;
        switch (shape[index]) {
            case L'Y':
                part = &time.wYear;
                break;
            case L'M':
                part = &time.wMonth;
                break;
            case L'D':
                part = &time.wDay;
                break;
            case L'h':
                part = &time.wHour;
                break;
            case L'm':
                part = &time.wMinute;
                break;
            case L's':
                part = &time.wSecond;
                break;
            case L'i':
                part = &time.wMilliseconds;
                break;
            default:
                break;
        }
        if (part == nullptr) {
            if (text[index] != shape[index]) {
                return std::nullopt;
            }
            continue;
        }
        const std::optional<unsigned> digit = ParseDigits(text.substr(index, 1));
        if (!digit) {
            return std::nullopt;
        }
        *part = static_cast<WORD>(*part * 10 + *digit);
    }
    if (!IsRealTime(time)) {
        return std::nullopt;
    }
    return Join(time);
}

}  // namespace

std::optional<TimePoint> ParseStamp(std::wstring_view text) {
    return ParseByShape(text, L"YYYYMMDD-hhmmss-iii");
}

std::optional<TimePoint> ParseTime(std::wstring_view text, TimePoint now) {
    constexpr std::uint64_t SecondsOfADay = 24 * 60 * 60;
    if (text == L"today") {
        return StartOfDay(now);
    }
    if (text == L"yesterday") {
        return StartOfDay(Earlier(now, SecondsOfADay));
    }
    if (const std::optional<std::uint64_t> age = ParseAge(text)) {
        return Earlier(now, *age);
    }
    for (const wchar_t* shape :
         {L"YYYY-MM-DD", L"YYYY-MM-DD hh:mm", L"YYYY-MM-DDThh:mm", L"YYYY-MM-DD hh:mm:ss",
          L"YYYY-MM-DDThh:mm:ss", L"YYYY-MM-DDThh:mm:ssZ", L"YYYY-MM-DDThh:mm:ss.iiiZ"}) {
        if (const std::optional<TimePoint> time = ParseByShape(text, shape)) {
            return time;
        }
    }
    return std::nullopt;
}

TimePoint CurrentTime() {
    SYSTEMTIME now = {};
    ::GetSystemTime(&now);
    return Join(now);
}

}  // namespace quillon_log
