/// A heap for tests that ends the process at the first misuse of a block from `new`.
///
/// While it is on, each block has its own pages and ends, except for alignment, at an inaccessible
/// page. The pages of a freed block also stay inaccessible, until all of the heap's addresses have
/// been used once. Freeing a block checks what no page can catch: the bytes before it, the few
/// after it, and that it is freed once, in the form of its allocation (array or single object),
/// with its size and alignment.
///
/// Access to an inaccessible page is an access violation, 0xC0000005. Other misuse ends the process
/// with `HeapMisuse` and a line on standard error.
#ifndef TESTS_SUPPORT_GUARDED_HEAP_H
#define TESTS_SUPPORT_GUARDED_HEAP_H

#include <cstddef>
#include <cstdint>

namespace test {

/// STATUS_HEAP_CORRUPTION of the platform's headers, which not every tool chain defines.
constexpr std::uint32_t HeapMisuse = 0xC0000374;

/// Turns the guards on during its lifetime, for all threads. May be nested. An existing block
/// doesn't change.
class GuardedHeap {
  public:
    /// Guards the next `most` blocks; later ones are plain.
    explicit GuardedHeap(std::size_t most = SIZE_MAX / 2) noexcept;
    ~GuardedHeap();
    GuardedHeap(const GuardedHeap&) = delete;
    GuardedHeap& operator=(const GuardedHeap&) = delete;

  private:
    std::size_t limitBefore_;
};

/// The number of blocks guarded so far.
[[nodiscard]] std::size_t GuardedBlocks() noexcept;

/// The number of blocks that weren't guarded because the platform had no more pages.
[[nodiscard]] std::size_t UnguardedBlocks() noexcept;

/// Called for each block that is allocated or freed, guarded or not, but not for null pointers.
struct HeapObserver {
    void (*taken)();
    void (*freed)(const void* block);
    /// Whether to fail this allocation, as if out of memory. Null fails none.
    bool (*refuses)() = nullptr;
};
void ObserveHeap(const HeapObserver* observer) noexcept;

}  // namespace test

#endif  // TESTS_SUPPORT_GUARDED_HEAP_H
