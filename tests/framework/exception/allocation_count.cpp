#include "tests/framework/exception/allocation_count.h"

#include "tests/support/guarded_heap.h"

namespace {

thread_local std::size_t allocations = 0;

constexpr test::HeapObserver Counter = {[] { ++allocations; }, [](const void*) {}};

}  // namespace

std::size_t test::AllocationCount() {
    ObserveHeap(&Counter);
    return allocations;
}
