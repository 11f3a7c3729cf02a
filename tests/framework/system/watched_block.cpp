#include "tests/framework/system/watched_block.h"

#include <atomic>

#include "tests/support/guarded_heap.h"

namespace test {
namespace {

std::atomic<const void*> watched{nullptr};
std::atomic<bool> freed{false};

void LookAt(const void* block) {
    if (block == watched) {
        freed = true;
        // The same address may be allocated again.
        watched = nullptr;
    }
}

constexpr HeapObserver Watcher = {[] {}, LookAt};

}  // namespace

void WatchBlock(const void* block) {
    watched = block;
    freed = false;
    ObserveHeap(&Watcher);
}

bool WatchedBlockIsFreed() {
    return freed;
}

}  // namespace test
