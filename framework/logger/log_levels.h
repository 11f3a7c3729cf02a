#ifndef FRAMEWORK_LOGGER_LOG_LEVELS_H
#define FRAMEWORK_LOGGER_LOG_LEVELS_H

#include <cstdint>

namespace framework {

/// A level bit and its letter in a record. A call passes both; the letter is never derived from the
/// bit.
struct LogLevel {
    std::uint32_t Bit;
    const wchar_t* Tag;
};

constexpr LogLevel LevelError = {1, L"E"};
constexpr LogLevel LevelWarning = {2, L"W"};
constexpr LogLevel LevelTrace = {4, L"T"};
constexpr LogLevel LevelVerbose = {8, L"V"};

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOG_LEVELS_H
