#ifndef TESTS_FRAMEWORK_EXCEPTION_ALLOCATION_COUNT_H
#define TESTS_FRAMEWORK_EXCEPTION_ALLOCATION_COUNT_H

#include <cstddef>

namespace test {

/// How often this thread has allocated through `operator new` since the first call.
[[nodiscard]] std::size_t AllocationCount();

}  // namespace test

#endif  // TESTS_FRAMEWORK_EXCEPTION_ALLOCATION_COUNT_H
