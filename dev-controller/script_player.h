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

/// The result of a list of actions.
struct Outcome {
    std::optional<std::int32_t> code;  ///< of a `return`
    bool nullController = false;
    bool closed = false;  ///< a wait was aborted because the library is being freed

    [[nodiscard]] bool Ended() const { return code.has_value() || closed; }
};

/// Executes a script. Catches no exception, because a crash in the script must reach the process's
/// exception filter.
class ScriptPlayer {
  public:
    /// All three must outlive the player and all its threads.
    ScriptPlayer(const Script& script, HostLink& host, Transcript& transcript);
    ScriptPlayer(const ScriptPlayer&) = delete;
    ScriptPlayer& operator=(const ScriptPlayer&) = delete;

    /// Executes the script's lines for the next call of `point`.
    Outcome PlayPoint(Point point);
    Outcome Play(const Actions& actions);

    /// Waits for the player's threads to finish. Returns false after `limit`
    /// milliseconds.
    bool JoinThreads(DWORD limit) { return threads_.Join(limit); }

    /// Aborts the waits of the player's threads and joins them, so that none calls the host after
    /// the free call. Returns false if a thread is still running after `limit` milliseconds.
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
