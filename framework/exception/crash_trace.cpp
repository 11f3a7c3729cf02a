#include "framework/exception/crash_trace.h"

#include <cstdlib>

namespace framework {

bool HasMemoryToThrow() noexcept {
    // Far more than the run-time library takes for a thread's first exception.
    constexpr std::size_t Room = 16 * 1024;
    // Not operator new: its nothrow form throws and catches inside. Volatile, because a compiler
    // removes an allocation that it sees go unused.
    void* volatile block = std::malloc(Room);
    const bool found = block != nullptr;
    std::free(block);
    return found;
}

}  // namespace framework
