#include "tests/support/guarded_heap.h"

#include <io.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "framework/system/platform.h"
#include "tests/support/heap_operators.h"

namespace test {
namespace {

constexpr std::size_t PageSize = 4096;
constexpr std::size_t PageCount = std::size_t{1} << 19;  // 2 GiB of addresses
constexpr std::size_t FirstPage = 1;                     // so that no block is before it
constexpr unsigned char BeforePattern = 0xFB;
constexpr unsigned char FreshPattern = 0xCD;
constexpr unsigned char BehindPattern = 0xFD;

enum class PageState : std::uint8_t { Unused, Used, Freed };

/// The data of the block that begins on a page.
struct Block {
    std::size_t size;
    std::uint32_t alignment;
    std::uint32_t pages;  ///< without the inaccessible page
    BlockKind kind;
    PageState state;
};

/// Calls nothing that a test may have replaced, and nothing that allocates.
[[noreturn]] void EndOver(const char* what, const void* block) {
    char line[200];
    const int length =
        std::snprintf(line, sizeof(line), "guarded heap: %s, block %p\n", what, block);
    constexpr int StandardError = 2;
    static_cast<void>(::_write(StandardError, line, static_cast<unsigned>(length)));
    std::_Exit(static_cast<int>(HeapMisuse));
}

/// The addresses and their table. Reserved on first use, never released.
class Arena {
  public:
    void* Take(std::size_t size, std::size_t alignment, BlockKind kind) {
        const Lock lock(lock_);
        const std::size_t pages = std::max<std::size_t>((size + PageSize - 1) / PageSize, 1);
        std::size_t first = 0;
        if (!Begin() || alignment > PageSize || !FindRoom(pages + 1, first) ||
            ::VirtualAlloc(Page(first), pages * PageSize, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
            ++refused;
            return nullptr;
        }
        ++guarded;
        blocks_[first] = {size, static_cast<std::uint32_t>(alignment),
                          static_cast<std::uint32_t>(pages), kind, PageState::Used};
        for (std::size_t page = first + 1; page <= first + pages; ++page) {
            blocks_[page] = {};
            blocks_[page].state = PageState::Used;
        }
        next_ = first + pages + 1;
        return Fill(first);
    }

    /// False if the block isn't from this heap.
    bool Free(void* block, std::size_t size, std::size_t alignment, BlockKind kind) {
        const auto address = reinterpret_cast<std::uintptr_t>(block);
        const auto begin = reinterpret_cast<std::uintptr_t>(begin_.load());
        if (begin == 0 || address < begin || address - begin >= PageCount * PageSize) {
            return false;
        }
        const Lock lock(lock_);
        const std::size_t first = (address - begin) / PageSize;
        Block& known = blocks_[first];
        if (known.state == PageState::Freed) {
            EndOver("freed twice", block);
        }
        if (known.pages == 0 || block != Place(first)) {
            EndOver("freed at an address where none begins", block);
        }
        if (known.kind != kind) {
            EndOver("an array freed as an object, or an object as an array", block);
        }
        if (size != UnknownSize && size != known.size) {
            EndOver("freed with another size", block);
        }
        if (alignment != known.alignment) {
            EndOver("freed with another alignment", block);
        }
        CheckPatterns(first);
        GiveBack(first);
        return true;
    }

    std::atomic<std::size_t> guarded{0};
    std::atomic<std::size_t> refused{0};

  private:
    class Lock {
      public:
        explicit Lock(SRWLOCK& lock) : lock_(lock), lastError_(::GetLastError()) {
            ::AcquireSRWLockExclusive(&lock_);
        }
        // Like the heap that it replaces, it doesn't change the last error.
        ~Lock() {
            ::ReleaseSRWLockExclusive(&lock_);
            ::SetLastError(lastError_);
        }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

      private:
        SRWLOCK& lock_;
        DWORD lastError_;
    };

    bool Begin() {
        if (begin_ == nullptr) {
            blocks_ = static_cast<Block*>(::VirtualAlloc(nullptr, PageCount * sizeof(Block),
                                                         MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
            begin_ = static_cast<unsigned char*>(
                ::VirtualAlloc(nullptr, PageCount * PageSize, MEM_RESERVE, PAGE_NOACCESS));
        }
        return begin_ != nullptr && blocks_ != nullptr;
    }

    /// The next free pages, starting at the last result, so that freed pages are reused as late as
    /// possible.
    bool FindRoom(std::size_t pages, std::size_t& first) {
        std::size_t run = 0;
        for (std::size_t step = 0, page = next_; step < PageCount + pages; ++step, ++page) {
            if (page >= PageCount) {
                page = FirstPage;
                run = 0;
            }
            run = blocks_[page].state == PageState::Used ? 0 : run + 1;
            if (run == pages) {
                first = page + 1 - pages;
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] unsigned char* Page(std::size_t index) const { return begin_ + index * PageSize; }

    /// The address of the block: as near to the end of its pages as its alignment allows. A block
    /// of size 0 has an address too.
    [[nodiscard]] unsigned char* Place(std::size_t first) const {
        const Block& block = blocks_[first];
        const std::size_t room = block.pages * PageSize - std::max<std::size_t>(block.size, 1);
        return Page(first) + room / block.alignment * block.alignment;
    }

    unsigned char* Fill(std::size_t first) const {
        const Block& block = blocks_[first];
        unsigned char* const place = Place(first);
        unsigned char* const end = Page(first + block.pages);
        std::memset(Page(first), BeforePattern, static_cast<std::size_t>(place - Page(first)));
        std::memset(place, FreshPattern, block.size);
        std::memset(place + block.size, BehindPattern,
                    static_cast<std::size_t>(end - place) - block.size);
        return place;
    }

    void CheckPatterns(std::size_t first) const {
        const Block& block = blocks_[first];
        const unsigned char* const begin = Page(first);
        const unsigned char* const place = Place(first);
        const unsigned char* const end = Page(first + block.pages);
        const auto isNot = [](unsigned char pattern) {
            return [pattern](unsigned char byte) { return byte != pattern; };
        };
        if (std::any_of(begin, place, isNot(BeforePattern))) {
            EndOver("written before the begin", place);
        }
        if (std::any_of(place + block.size, end, isNot(BehindPattern))) {
            EndOver("written behind the end", place);
        }
    }

    void GiveBack(std::size_t first) {
        const std::size_t pages = blocks_[first].pages;
        ::VirtualFree(Page(first), pages * PageSize, MEM_DECOMMIT);
        for (std::size_t page = first; page <= first + pages; ++page) {
            blocks_[page].state = PageState::Freed;
        }
    }

    SRWLOCK lock_ = SRWLOCK_INIT;
    std::atomic<unsigned char*> begin_{nullptr};  ///< written once, under lock_
    // Guarded by lock_.
    Block* blocks_ = nullptr;
    std::size_t next_ = FirstPage;
};

// Constant-initialised, because the first block is allocated before any constructor runs.
constinit Arena arena;
/// Guards are on until this many blocks have been guarded.
constinit std::atomic<std::size_t> limit{0};
constinit std::atomic<const HeapObserver*> observer{nullptr};

}  // namespace

GuardedHeap::GuardedHeap(std::size_t most) noexcept
    : limitBefore_(limit.exchange(arena.guarded + most)) {}

GuardedHeap::~GuardedHeap() {
    limit = limitBefore_;
}

std::size_t GuardedBlocks() noexcept {
    return arena.guarded;
}

std::size_t UnguardedBlocks() noexcept {
    return arena.refused;
}

void ObserveHeap(const HeapObserver* newObserver) noexcept {
    observer = newObserver;
}

void* TakeBlock(std::size_t size, std::size_t alignment, BlockKind kind) {
    if (const HeapObserver* const present = observer) {
        present->taken();
        if (present->refuses != nullptr && present->refuses()) {
            return nullptr;
        }
    }
    void* const block = arena.guarded < limit ? arena.Take(size, alignment, kind) : nullptr;
    return block != nullptr ? block : TakePlainBlock(size, alignment);
}

void FreeBlock(void* block, std::size_t size, std::size_t alignment, BlockKind kind) noexcept {
    if (block == nullptr) {
        return;
    }
    if (const HeapObserver* const present = observer) {
        present->freed(block);
    }
    if (!arena.Free(block, size, alignment, kind)) {
        FreePlainBlock(block, alignment);
    }
}

}  // namespace test
