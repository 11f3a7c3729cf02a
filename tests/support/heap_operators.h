/// Connects the operators of the language to the heap.
#ifndef TESTS_SUPPORT_HEAP_OPERATORS_H
#define TESTS_SUPPORT_HEAP_OPERATORS_H

#include <cstddef>
#include <cstdint>

namespace test {

enum class BlockKind : std::uint8_t { Object, Array };

constexpr std::size_t UnknownSize = SIZE_MAX;
constexpr std::size_t UsualAlignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

/// A block of the guarded heap, or a plain one while it is off. Null if there is no memory.
[[nodiscard]] void* TakeBlock(std::size_t size, std::size_t alignment, BlockKind kind);
void FreeBlock(void* block, std::size_t size, std::size_t alignment, BlockKind kind) noexcept;

/// A block of the run-time library.
[[nodiscard]] void* TakePlainBlock(std::size_t size, std::size_t alignment) noexcept;
void FreePlainBlock(void* block, std::size_t alignment) noexcept;

}  // namespace test

#endif  // TESTS_SUPPORT_HEAP_OPERATORS_H
