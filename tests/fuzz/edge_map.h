/// Which ways through the code under test a call has taken. The code is compiled with
/// `-fsanitize-coverage=trace-pc`, which has it report every basic block that it enters. A build
/// without that option (any compiler but GCC and Clang) sees no edges, and every input is new.
///
/// For one thread: code under test that runs on others must not be instrumented.
#ifndef TESTS_FUZZ_EDGE_MAP_H
#define TESTS_FUZZ_EDGE_MAP_H

#include <cstddef>

namespace fuzz {

/// From here on edges are counted.
void BeginEdges();

/// Ends the counting. True if an edge was taken that no call before has taken, or was taken more
/// often, in powers of two.
bool EndEdges();

/// How many edges have been taken since the program began.
[[nodiscard]] std::size_t EdgeCount();

}  // namespace fuzz

#endif  // TESTS_FUZZ_EDGE_MAP_H
