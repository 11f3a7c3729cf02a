/// Memory that ends at an inaccessible page.
#ifndef TESTS_FRAMEWORK_SYSTEM_GUARDED_BLOCK_H
#define TESTS_FRAMEWORK_SYSTEM_GUARDED_BLOCK_H

#include <cstddef>
#include <new>
#include <string>

#include "framework/system/platform.h"

namespace test {

/// Reading or writing one byte past the end is an access violation, which ends the test program.
class GuardedBlock {
  public:
    static constexpr std::size_t Size = 4096;

    GuardedBlock() : begin_(static_cast<std::byte*>(Reserve())) {
        DWORD before = 0;
        if (::VirtualProtect(End(), Size, PAGE_NOACCESS, &before) == FALSE) {
            throw std::bad_alloc();
        }
    }
    ~GuardedBlock() { ::VirtualFree(begin_, 0, MEM_RELEASE); }
    GuardedBlock(const GuardedBlock&) = delete;
    GuardedBlock& operator=(const GuardedBlock&) = delete;

    /// The first inaccessible byte.
    [[nodiscard]] void* End() const noexcept { return begin_ + Size; }

    /// Room for `count` characters, the last of them just before the end.
    [[nodiscard]] wchar_t* Last(std::size_t count) const noexcept {
        return static_cast<wchar_t*>(End()) - count;
    }

    /// Puts `text` with its terminating zero directly before the end.
    [[nodiscard]] const wchar_t* Place(const std::wstring& text) const noexcept {
        wchar_t* const place = Last(text.size() + 1);
        text.copy(place, text.size());
        place[text.size()] = 0;
        return place;
    }

  private:
    static void* Reserve() {
        void* const memory =
            ::VirtualAlloc(nullptr, Size * 2, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return memory;
    }

    std::byte* begin_;
};

}  // namespace test

#endif  // TESTS_FRAMEWORK_SYSTEM_GUARDED_BLOCK_H
