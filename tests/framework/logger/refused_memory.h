/// Makes allocations through `operator new` fail in a program on the guarded heap.
#ifndef TESTS_FRAMEWORK_LOGGER_REFUSED_MEMORY_H
#define TESTS_FRAMEWORK_LOGGER_REFUSED_MEMORY_H

#include <cstdint>

namespace test {

enum class Refusal { Once, FromThenOn };

/// During its lifetime the `number`-th allocation of this thread (counted from 1) throws
/// `std::bad_alloc`, and with `FromThenOn` each later one too. 0 fails none.
class RefusedMemory {
  public:
    RefusedMemory(std::uint32_t number, Refusal refusal) noexcept;
    ~RefusedMemory();
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;

    /// Whether an allocation has failed.
    [[nodiscard]] static bool Refused() noexcept;

    /// The number of allocations that the latest of these objects has counted.
    [[nodiscard]] static std::uint32_t Count() noexcept;
};

}  // namespace test

#endif  // TESTS_FRAMEWORK_LOGGER_REFUSED_MEMORY_H
