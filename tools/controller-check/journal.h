#ifndef TOOLS_CONTROLLER_CHECK_JOURNAL_H
#define TOOLS_CONTROLLER_CHECK_JOURNAL_H

#include <atomic>
#include <cstdint>
#include <string_view>
#include <vector>

#include "framework/system/unique_handle.h"
#include "tools/controller-check/event.h"

namespace controller_check {

/// The events of a round's process, in memory shared with the checking process. A crash loses
/// nothing, and neither process waits for the other.
class Journal {
  public:
    /// Creates a journal for the round's process to inherit. Throws `std::system_error`.
    Journal();
    /// Opens the inherited journal `section`. Throws `std::system_error`.
    explicit Journal(HANDLE section);
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    [[nodiscard]] HANDLE Section() const noexcept { return section_.Get(); }

    /// Thread-safe, also in a crash: doesn't allocate or lock. Sets thread and time. Drops the
    /// event if the journal is full.
    void Add(Event event, std::wstring_view text = {}) noexcept;

    /// Counts a valid log line; there are too many for one event each.
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
