#ifndef TESTS_SUPPORT_DEBUGGER_CHANNEL_H
#define TESTS_SUPPORT_DEBUGGER_CHANNEL_H

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/platform_hooks.h"

namespace test {

/// Records the texts of the debugger channel during its lifetime. Needs the platform hooks.
class DebuggerChannel {
  public:
    DebuggerChannel()
        : hook_([this](const wchar_t* text) {
              const std::lock_guard guard(lock_);
              texts_.emplace_back(text);
          }) {}

    /// The texts since the last call, in order.
    [[nodiscard]] std::vector<std::wstring> Take() {
        const std::lock_guard guard(lock_);
        return std::exchange(texts_, {});
    }

  private:
    std::mutex lock_;
    std::vector<std::wstring> texts_;
    ScopedHook<OutputDebugStringWHook> hook_;
};

}  // namespace test

#endif  // TESTS_SUPPORT_DEBUGGER_CHANNEL_H
