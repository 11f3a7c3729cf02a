#ifndef TESTS_FUZZ_MUTATION_H
#define TESTS_FUZZ_MUTATION_H

#include <string>
#include <vector>

#include "tests/fuzz/input.h"
#include "tests/fuzz/random.h"

namespace fuzz {

/// Texts that mutations insert, besides pieces of the input.
struct Vocabulary {
    std::vector<std::wstring> words;
    std::wstring characters;
    std::size_t longest = 4096;  ///< longest text
    bool fixedCount = false;     ///< the number of texts doesn't change
};

/// Changes `input` in one to four places: characters, pieces, whole texts. Pieces also come from
/// `other`.
void Mutate(Input& input, const Input& other, const Vocabulary& vocabulary, Random& random);

}  // namespace fuzz

#endif  // TESTS_FUZZ_MUTATION_H
