/// The paths through the code under test that a call has taken. The code is compiled with
/// `-fsanitize-coverage=trace-pc`, so it reports every basic block that it enters. A build without
/// that option (any compiler but GCC and Clang) sees no edges, and every input counts as new.
///
/// For one thread: code under test that runs on other threads must not be instrumented.
#ifndef TESTS_FUZZ_EDGE_MAP_H
#define TESTS_FUZZ_EDGE_MAP_H

#include <cstddef>

namespace fuzz {

/// Starts counting edges.
void BeginEdges();

/// Stops counting. True if an edge was taken for the first time, or more often than before, by
/// powers of two.
bool EndEdges();

/// The number of edges taken since the program started.
[[nodiscard]] std::size_t EdgeCount();

}  // namespace fuzz

#endif  // TESTS_FUZZ_EDGE_MAP_H
