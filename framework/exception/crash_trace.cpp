#include "framework/exception/crash_trace.h"

#include <cstdlib>

namespace framework {

bool HasMemoryForALine() noexcept {
    // A record with the longest path in it, formatted twice, with room to spare.
    constexpr std::size_t Room = 64 * 1024;
    // Not operator new: its nothrow form throws and catches inside. Volatile, because a compiler
    // drops an allocation that it sees go unused.
    void* volatile block = std::malloc(Room);
    const bool found = block != nullptr;
    std::free(block);
    return found;
}

}  // namespace framework
