#ifndef TESTS_FUZZ_MUTATION_H
#define TESTS_FUZZ_MUTATION_H

#include <string>
#include <vector>

#include "tests/fuzz/input.h"
#include "tests/fuzz/random.h"

namespace fuzz {

/// What mutations put into a text besides what stands there already.
struct Vocabulary {
    std::vector<std::wstring> words;
    std::wstring characters;
    std::size_t longest = 4096;  ///< no text grows beyond this
    bool fixedCount = false;     ///< the number of texts stays as it is
};

/// Changes `input` in one to four places: characters, pieces, whole texts. `other` is an input that
/// pieces are taken from.
void Mutate(Input& input, const Input& other, const Vocabulary& vocabulary, Random& random);

}  // namespace fuzz

#endif  // TESTS_FUZZ_MUTATION_H
