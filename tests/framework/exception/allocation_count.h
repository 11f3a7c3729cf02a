#ifndef TESTS_FRAMEWORK_EXCEPTION_ALLOCATION_COUNT_H
#define TESTS_FRAMEWORK_EXCEPTION_ALLOCATION_COUNT_H

#include <cstddef>

namespace test {

/// The number of `operator new` calls of the calling thread since its first call of this function.
/// Only one thread at a time may count.
[[nodiscard]] std::size_t AllocationCount();

}  // namespace test

#endif  // TESTS_FRAMEWORK_EXCEPTION_ALLOCATION_COUNT_H
