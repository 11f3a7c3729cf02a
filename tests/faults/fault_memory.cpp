// The targets of the product's allocations: new, and malloc as the product's libraries and zlib
// call it.

#include <cstdlib>
#include <new>

#include "tests/faults/fault_plan.h"

/// The renamed malloc in the copies of the product's libraries and of zlib.
extern "C" void* fault_malloc(std::size_t size) {
    return faults::Refuses("malloc", __builtin_return_address(0)) ? nullptr : std::malloc(size);
}

namespace {

void* Take(std::size_t size, const void* returnAddress) noexcept {
    if (faults::Refuses("operator new", returnAddress)) {
        return nullptr;
    }
    return std::malloc(size == 0 ? 1 : size);
}

void* TakeOrThrow(std::size_t size, const void* returnAddress) {
    void* const block = Take(size, returnAddress);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

}  // namespace

void* operator new(std::size_t size) {
    return TakeOrThrow(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size) {
    return TakeOrThrow(size, __builtin_return_address(0));
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Take(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Take(size, __builtin_return_address(0));
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
