#ifndef TESTS_FUZZ_TARGET_H
#define TESTS_FUZZ_TARGET_H

#include <cstddef>
#include <functional>
#include <string>

#include "tests/fuzz/input.h"
#include "tests/fuzz/mutation.h"
#include "tests/fuzz/random.h"

namespace fuzz {

/// One thing that inputs are thrown at.
struct Target {
    const char* name;
    /// An input of the shape that the code under test is made for.
    std::function<Input(Random&)> generate;
    /// Gives the input to the code under test. What is wrong with the outcome; empty: nothing.
    /// Takes every input, not only those of the right shape.
    std::function<std::string(const Input&)> check;
    Vocabulary vocabulary;
    std::size_t shortCount;  ///< inputs of an ordinary run
    std::size_t longCount;   ///< inputs of a long run
};

/// Fuzzes as the environment says and fails the running test at the first input that isn't taken
/// rightly, with a line that replays it.
///
/// TARNWICK_LONG_TESTS=1 takes the long count and a seed of its own, TARNWICK_SEED gives the seed,
/// TARNWICK_FUZZ_INPUT one escaped input instead of any other, or, after an '@', the file that it
/// stands in.
void TryTarget(const Target& target);

/// What `check` says of an input that it fails, made smaller while it still fails.
[[nodiscard]] Input Shrunk(const Target& target, Input input);

}  // namespace fuzz

#endif  // TESTS_FUZZ_TARGET_H
