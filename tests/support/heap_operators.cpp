// Every form of new and delete, each forwarded with its information about the block.

#include "tests/support/heap_operators.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace test {
namespace {

void* TakeOrThrow(std::size_t size, std::size_t alignment, BlockKind kind) {
    void* const block = TakeBlock(size, alignment, kind);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

std::size_t Number(std::align_val_t alignment) {
    return static_cast<std::size_t>(alignment);
}

}  // namespace

void* TakePlainBlock(std::size_t size, std::size_t alignment) noexcept {
    const std::size_t least = size == 0 ? 1 : size;
    return alignment > UsualAlignment ? ::_aligned_malloc(least, alignment) : std::malloc(least);
}

void FreePlainBlock(void* block, std::size_t alignment) noexcept {
    if (alignment > UsualAlignment) {
        ::_aligned_free(block);
    } else {
        std::free(block);
    }
}

}  // namespace test

using test::BlockKind;
using test::UnknownSize;
using test::UsualAlignment;

void* operator new(std::size_t size) {
    return test::TakeOrThrow(size, UsualAlignment, BlockKind::Object);
}
void* operator new[](std::size_t size) {
    return test::TakeOrThrow(size, UsualAlignment, BlockKind::Array);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return test::TakeOrThrow(size, test::Number(alignment), BlockKind::Object);
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return test::TakeOrThrow(size, test::Number(alignment), BlockKind::Array);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return test::TakeBlock(size, UsualAlignment, BlockKind::Object);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return test::TakeBlock(size, UsualAlignment, BlockKind::Array);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return test::TakeBlock(size, test::Number(alignment), BlockKind::Object);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return test::TakeBlock(size, test::Number(alignment), BlockKind::Array);
}

void operator delete(void* block) noexcept {
    test::FreeBlock(block, UnknownSize, UsualAlignment, BlockKind::Object);
}
void operator delete[](void* block) noexcept {
    test::FreeBlock(block, UnknownSize, UsualAlignment, BlockKind::Array);
}
void operator delete(void* block, std::size_t size) noexcept {
    test::FreeBlock(block, size, UsualAlignment, BlockKind::Object);
}
void operator delete[](void* block, std::size_t size) noexcept {
    test::FreeBlock(block, size, UsualAlignment, BlockKind::Array);
}
void operator delete(void* block, std::align_val_t alignment) noexcept {
    test::FreeBlock(block, UnknownSize, test::Number(alignment), BlockKind::Object);
}
void operator delete[](void* block, std::align_val_t alignment) noexcept {
    test::FreeBlock(block, UnknownSize, test::Number(alignment), BlockKind::Array);
}
void operator delete(void* block, std::size_t size, std::align_val_t alignment) noexcept {
    test::FreeBlock(block, size, test::Number(alignment), BlockKind::Object);
}
void operator delete[](void* block, std::size_t size, std::align_val_t alignment) noexcept {
    test::FreeBlock(block, size, test::Number(alignment), BlockKind::Array);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    test::FreeBlock(block, UnknownSize, UsualAlignment, BlockKind::Object);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    test::FreeBlock(block, UnknownSize, UsualAlignment, BlockKind::Array);
}
void operator delete(void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    test::FreeBlock(block, UnknownSize, test::Number(alignment), BlockKind::Object);
}
void operator delete[](void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    test::FreeBlock(block, UnknownSize, test::Number(alignment), BlockKind::Array);
}
