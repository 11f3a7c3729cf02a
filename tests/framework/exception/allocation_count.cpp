#include "tests/framework/exception/allocation_count.h"

#include <atomic>

#include "framework/system/platform.h"
#include "tests/support/guarded_heap.h"

namespace {

// Not thread_local: clang emulates it like libstdc++, and its PDB records then name a variable that
// doesn't exist.
std::atomic<DWORD> countedThread{0};
std::atomic<std::size_t> allocations{0};

void CountAllocation() {
    if (::GetCurrentThreadId() == countedThread) {
        ++allocations;
    }
}

constexpr test::HeapObserver Counter = {CountAllocation, [](const void*) {}};

}  // namespace

std::size_t test::AllocationCount() {
    countedThread = ::GetCurrentThreadId();
    ObserveHeap(&Counter);
    return allocations;
}
