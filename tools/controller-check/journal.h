#ifndef TOOLS_CONTROLLER_CHECK_JOURNAL_H
#define TOOLS_CONTROLLER_CHECK_JOURNAL_H

#include <atomic>
#include <cstdint>
#include <string_view>
#include <vector>

#include "framework/system/unique_handle.h"
#include "tools/controller-check/event.h"

namespace controller_check {

/// What a round's process saw, in memory that it shares with the one that judges: nothing is lost
/// in a crash, and nobody waits for the other.
class Journal {
  public:
    /// Makes a new one, to be inherited by the round's process. Throws `std::system_error`.
    Journal();
    /// Opens the one that was inherited as `section`. Throws `std::system_error`.
    explicit Journal(HANDLE section);
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    [[nodiscard]] HANDLE Section() const noexcept { return section_.Get(); }

    /// Any thread, in a crash too: allocates nothing and takes no lock. Thread and time are filled
    /// in. What doesn't fit any more is dropped.
    void Add(Event event, std::wstring_view text = {}) noexcept;

    /// A log line in order; there are too many of them for an event each.
    void CountLogLine() noexcept;
    [[nodiscard]] std::uint32_t LogLines() const noexcept;

    [[nodiscard]] std::vector<Event> Events() const;

  private:
    struct Page;

    void Map();

    framework::KernelHandle section_;
    Page* page_ = nullptr;
};

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_JOURNAL_H
