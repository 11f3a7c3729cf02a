#include "tests/support/unique_name.h"

#include <atomic>

#include "framework/system/platform.h"

namespace test {
namespace {

/// From the system's counter, which tests of times don't replace.
LONGLONG TicksAtFirstUse() {
    LARGE_INTEGER ticks = {};
    ::QueryPerformanceCounter(&ticks);
    return ticks.QuadPart;
}

}  // namespace

std::wstring UniqueName(const std::wstring& kind) {
    static const LONGLONG ticks = TicksAtFirstUse();
    static std::atomic<unsigned> counter{0};
    return kind + L'-' + std::to_wstring(::GetCurrentProcessId()) + L'-' + std::to_wstring(ticks) +
           L'-' + std::to_wstring(counter++);
}

}  // namespace test
