#ifndef TOOLS_CONTROLLER_CHECK_ROUND_PLAYER_H
#define TOOLS_CONTROLLER_CHECK_ROUND_PLAYER_H

#include <cstdint>
#include <string>

#include "tools/controller-check/journal.h"
#include "tools/controller-check/round.h"

namespace controller_check {

/// What the process of a round is told.
struct PlayOrder {
    Round round = Round::Service;
    std::wstring library;             ///< full path
    std::uint32_t workTime = 0;       ///< milliseconds between start and stop
    std::uint32_t afterFreeTime = 0;  ///< milliseconds in which nothing more may come
};

/// Plays the host for one life of the library, on this thread as the host's main thread. Returns
/// when the host's process would end; a crash ends the process at once.
void PlayRound(const PlayOrder& order, Journal& journal);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_ROUND_PLAYER_H
