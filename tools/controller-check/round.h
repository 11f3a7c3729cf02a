#ifndef TOOLS_CONTROLLER_CHECK_ROUND_H
#define TOOLS_CONTROLLER_CHECK_ROUND_H

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace controller_check {

/// One run of the library from load to free. Each has its own process, because the host creates one
/// controller per process.
enum class Round { Service, Console, StopAtOnce, Shutdown, ForcedStop, NoStart, Unpack };

struct RoundInfo {
    Round round;
    const wchar_t* name;
    const wchar_t* text;
    bool byNameOnly;  ///< played only if named
};

inline constexpr std::array<RoundInfo, 7> Rounds = {{
    {Round::Service, L"service", L"start, work and stop under the service manager", false},
    {Round::Console, L"console", L"the same in a console: one thread, no service manager", false},
    {Round::StopAtOnce, L"stop-at-once", L"a stop as soon as the start is over", false},
    {Round::Shutdown, L"shutdown", L"a shutdown that doesn't wait for the start", false},
    {Round::ForcedStop, L"forced-stop", L"free while active, as after an interrupt", false},
    {Round::NoStart, L"no-start", L"create and free alone, several times", false},
    {Round::Unpack, L"unpack", L"OrrinBootstrap; does what the library does there", true},
}};

[[nodiscard]] constexpr const RoundInfo& InfoOf(Round round) {
    return Rounds[static_cast<std::size_t>(round)];
}

[[nodiscard]] constexpr std::optional<Round> FindRound(std::wstring_view name) {
    for (const RoundInfo& info : Rounds) {
        if (name == info.name) {
            return info.round;
        }
    }
    return std::nullopt;
}

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_ROUND_H
