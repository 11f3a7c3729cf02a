/// Times as quillon-log reads them, year to millisecond in decimal digits, by counting days one
/// year after the other: nothing of the platform's calendar nor of the library's.
#ifndef TESTS_FUZZ_CALENDAR_H
#define TESTS_FUZZ_CALENDAR_H

#include <cstdint>

namespace fuzz {

/// Whether there has been or will be such a time; the count begins with the year 1601.
[[nodiscard]] bool IsRealTime(std::uint64_t time);

/// So many seconds before a real time, or the first of all times.
[[nodiscard]] std::uint64_t TimeBefore(std::uint64_t time, std::uint64_t seconds);

}  // namespace fuzz

#endif  // TESTS_FUZZ_CALENDAR_H
