/// A heap for tests that ends the process at the first wrong use of a block that comes from `new`.
///
/// While it is switched on, each block has pages of its own and ends, but for its alignment, at a
/// page that can't be touched. A freed block's pages can't be touched either, until all of the
/// heap's addresses have been used once. What no page can catch is looked at when the block is
/// freed: the bytes before it, the few behind it, and whether it is freed once, as what it was made
/// (array or single object), with its size and alignment.
///
/// Access to a page that can't be touched is an access violation, 0xC0000005; the rest ends the
/// process with `HeapMisuse` and a line on standard error.
#ifndef TESTS_SUPPORT_GUARDED_HEAP_H
#define TESTS_SUPPORT_GUARDED_HEAP_H

#include <cstddef>
#include <cstdint>

namespace test {

/// STATUS_HEAP_CORRUPTION of the platform's headers, which not every tool chain defines.
constexpr std::uint32_t HeapMisuse = 0xC0000374;

/// Switches the guards on for as long as it lives, for all threads; can stand within another. A
/// block keeps what it got when it was made.
class GuardedHeap {
  public:
    /// For the next `most` blocks; those behind are plain.
    explicit GuardedHeap(std::size_t most = SIZE_MAX / 2) noexcept;
    ~GuardedHeap();
    GuardedHeap(const GuardedHeap&) = delete;
    GuardedHeap& operator=(const GuardedHeap&) = delete;

  private:
    std::size_t limitBefore_;
};

/// How many blocks have been guarded so far.
[[nodiscard]] std::size_t GuardedBlocks() noexcept;

/// How many blocks would have been guarded, but the platform had no more pages to give.
[[nodiscard]] std::size_t UnguardedBlocks() noexcept;

/// Called for each block that is taken or given back, guarded or not. A null pointer is none.
struct HeapObserver {
    void (*taken)();
    void (*freed)(const void* block);
    /// Whether the block is refused, as if there were no memory. Null refuses none.
    bool (*refuses)() = nullptr;
};
void ObserveHeap(const HeapObserver* observer) noexcept;

}  // namespace test

#endif  // TESTS_SUPPORT_GUARDED_HEAP_H
