#ifndef TESTS_FUZZ_TARGET_H
#define TESTS_FUZZ_TARGET_H

#include <cstddef>
#include <functional>
#include <string>

#include "tests/fuzz/input.h"
#include "tests/fuzz/mutation.h"
#include "tests/fuzz/random.h"

namespace fuzz {

/// A fuzzing target.
struct Target {
    const char* name;
    /// A valid input for the code under test.
    std::function<Input(Random&)> generate;
    /// Runs the code under test. Returns the error, or an empty text. Accepts every input, valid or
    /// not.
    std::function<std::string(const Input&)> check;
    Vocabulary vocabulary;
    std::size_t shortCount;  ///< inputs of a short run
    std::size_t longCount;   ///< inputs of a long run
};

/// Fuzzes as the environment variables say. Fails the running test at the first input with an
/// error, with a command line that replays it.
///
/// TARNWICK_LONG_TESTS=1 selects the long count and a random seed, TARNWICK_SEED sets the seed.
/// TARNWICK_FUZZ_INPUT is a single escaped input or, after an '@', a file with one.
void TryTarget(const Target& target);

/// The error of `check` for a failing input, which is minimised while it still fails.
[[nodiscard]] Input Shrunk(const Target& target, Input input);

}  // namespace fuzz

#endif  // TESTS_FUZZ_TARGET_H
