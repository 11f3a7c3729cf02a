#include "tests/framework/system/watched_block.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace test {
namespace {

std::atomic<const void*> watched{nullptr};
std::atomic<bool> freed{false};

}  // namespace

void WatchBlock(const void* block) {
    watched = block;
    freed = false;
}

bool WatchedBlockIsFreed() {
    return freed;
}

}  // namespace test

void* operator new(std::size_t size) {
    void* const block = std::malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    if (block != nullptr && block == test::watched) {
        test::freed = true;
        // The same address may be given out again.
        test::watched = nullptr;
    }
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
