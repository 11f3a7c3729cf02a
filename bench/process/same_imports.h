#ifndef BENCH_PROCESS_SAME_IMPORTS_H
#define BENCH_PROCESS_SAME_IMPORTS_H

namespace bench {

/// Makes a program import the service host's system libraries and the controller library. Never
/// calls any of them; always false.
bool UseSameImports();

}  // namespace bench

#endif  // BENCH_PROCESS_SAME_IMPORTS_H
