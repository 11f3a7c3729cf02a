#ifndef TESTS_FRAMEWORK_EXCEPTION_ALLOCATION_COUNT_H
#define TESTS_FRAMEWORK_EXCEPTION_ALLOCATION_COUNT_H

#include <cstddef>

namespace test {

/// The number of blocks that the calling thread has taken from `operator new` since its first call.
/// One thread at a time may count.
[[nodiscard]] std::size_t AllocationCount();

}  // namespace test

#endif  // TESTS_FRAMEWORK_EXCEPTION_ALLOCATION_COUNT_H
