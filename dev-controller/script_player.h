#ifndef DEV_CONTROLLER_SCRIPT_PLAYER_H
#define DEV_CONTROLLER_SCRIPT_PLAYER_H

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

#include "dev-controller/host_link.h"
#include "dev-controller/named_events.h"
#include "dev-controller/script.h"
#include "dev-controller/thread_group.h"
#include "dev-controller/transcript.h"

namespace dev_controller {

/// How a row of actions ended.
struct Outcome {
    std::optional<std::int32_t> code;  ///< of a `return`
    bool nullController = false;
    bool closed = false;  ///< a wait was broken off because the library is being freed

    [[nodiscard]] bool Ended() const { return code.has_value() || closed; }
};

/// Does what a script says. No exception is caught here: a crash that the script asks for has to
/// reach the process's own filter.
class ScriptPlayer {
  public:
    /// All three must outlive the player and every thread that it starts.
    ScriptPlayer(const Script& script, HostLink& host, Transcript& transcript);
    ScriptPlayer(const ScriptPlayer&) = delete;
    ScriptPlayer& operator=(const ScriptPlayer&) = delete;

    /// Plays the script's lines for one more call of `point`.
    Outcome PlayPoint(Point point);
    Outcome Play(const Actions& actions);

    /// Waits for the player's threads to end by themselves. Returns false after `limit`
    /// milliseconds.
    bool JoinThreads(DWORD limit) { return threads_.Join(limit); }

    /// Breaks off the waits of the player's threads and joins them, so that none of them calls the
    /// host after the free call. Returns false if a thread is still running after `limit`
    /// milliseconds.
    bool Close(DWORD limit);

  private:
    friend struct ActionVisitor;

    void PlayInto(const Action& action, Outcome& outcome);
    /// Waits for `event` or the closing. Returns the platform's wait result.
    DWORD WaitOrClosing(HANDLE event, DWORD limit);
    void StartThreadsFor(const StartThreads& threads);

    const Script& script_;
    HostLink& host_;
    Transcript& transcript_;
    NamedEvents events_;
    ThreadGroup threads_;
    Handle closing_;
    std::array<std::atomic<std::uint32_t>, PointCount> calls_ = {};
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_SCRIPT_PLAYER_H
