#ifndef TESTS_TOOLS_CONTROLLER_CHECK_GUARDED_BYTES_H
#define TESTS_TOOLS_CONTROLLER_CHECK_GUARDED_BYTES_H

#include <cstring>
#include <new>
#include <string_view>

#include "framework/system/platform.h"

namespace test {

/// Bytes directly before inaccessible memory: reading past them crashes.
class GuardedBytes {
  public:
    static constexpr std::size_t PageSize = 4096;

    explicit GuardedBytes(std::size_t size)
        : size_(size), room_((size / PageSize + 1) * PageSize), start_(Reserve(room_)) {}
    explicit GuardedBytes(std::string_view bytes) : GuardedBytes(bytes.size()) {
        std::memcpy(Begin(), bytes.data(), bytes.size());
    }
    ~GuardedBytes() { ::VirtualFree(start_, 0, MEM_RELEASE); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    [[nodiscard]] char* Begin() const { return End() - size_; }
    [[nodiscard]] char* End() const { return start_ + room_; }
    [[nodiscard]] std::string_view View() const { return {Begin(), size_}; }

  private:
    static char* Reserve(std::size_t room) {
        void* const start = ::VirtualAlloc(nullptr, room + PageSize, MEM_RESERVE, PAGE_NOACCESS);
        if (start == nullptr ||
            ::VirtualAlloc(start, room, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
            throw std::bad_alloc();
        }
        return static_cast<char*>(start);
    }

    std::size_t size_;
    std::size_t room_;
    char* start_;
};

}  // namespace test

#endif  // TESTS_TOOLS_CONTROLLER_CHECK_GUARDED_BYTES_H
