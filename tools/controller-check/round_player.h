#ifndef TOOLS_CONTROLLER_CHECK_ROUND_PLAYER_H
#define TOOLS_CONTROLLER_CHECK_ROUND_PLAYER_H

#include <cstdint>
#include <string>

#include "tools/controller-check/journal.h"
#include "tools/controller-check/round.h"

namespace controller_check {

/// The parameters of a round's process.
struct PlayOrder {
    Round round = Round::Service;
    std::wstring library;             ///< full path
    std::uint32_t workTime = 0;       ///< milliseconds between start and stop
    std::uint32_t afterFreeTime = 0;  ///< milliseconds in which no call is allowed
};

/// Plays the host for one round, with this thread as the host's main thread. Returns when the host
/// would exit; a crash ends the process immediately.
void PlayRound(const PlayOrder& order, Journal& journal);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_ROUND_PLAYER_H
