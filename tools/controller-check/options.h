#ifndef TOOLS_CONTROLLER_CHECK_OPTIONS_H
#define TOOLS_CONTROLLER_CHECK_OPTIONS_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "tools/controller-check/round.h"
#include "tools/shared/option_walk.h"

namespace controller_check {

using tools::ColorChoice;
using tools::OptionError;

struct Options {
    std::wstring library;
    std::vector<Round> rounds;          ///< to play, in the order of `Rounds`
    std::uint32_t timeout = 30000;      ///< of a call, in milliseconds
    std::uint32_t workTime = 1000;      ///< milliseconds between start and stop
    std::uint32_t afterFreeTime = 500;  ///< milliseconds in which no call is allowed
    std::uint32_t repetitions = 3;      ///< of the round no-start
    bool json = false;
    bool quiet = false;
    ColorChoice color = ColorChoice::WhenTerminal;
    bool help = false;
    bool version = false;
};

/// Parses the arguments after the program's name.
[[nodiscard]] std::variant<Options, OptionError> ParseOptions(
    const std::vector<std::wstring>& arguments);

[[nodiscard]] std::wstring HelpText();

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_OPTIONS_H
