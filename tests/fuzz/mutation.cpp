#include "tests/fuzz/mutation.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace fuzz {
namespace {

struct Span {
    std::size_t begin;
    std::size_t length;
};

/// A piece of a text, mostly a short one.
Span PieceOf(const std::wstring& text, Random& random) {
    const std::size_t begin = random.Below(text.size() + 1);
    const std::size_t most = text.size() - begin;
    const std::size_t length =
        random.OneIn(4) ? random.Below(most + 1) : random.Below(std::min<std::size_t>(most, 8) + 1);
    return {begin, length};
}

std::wstring PieceOfOther(const Input& other, Random& random) {
    if (other.empty()) {
        return {};
    }
    const std::wstring& text = random.Pick(other);
    const Span piece = PieceOf(text, random);
    return text.substr(piece.begin, piece.length);
}

std::wstring NewPiece(const Input& other, const Vocabulary& vocabulary, Random& random) {
    switch (random.Below(4)) {
        case 0:
            return PieceOfOther(other, random);
        case 1:
            return random.Text(vocabulary.characters, 4);
        default:
            return vocabulary.words.empty() ? random.Text(vocabulary.characters, 4)
                                            : random.Pick(vocabulary.words);
    }
}

/// Repeats a piece, to reach limits of depth, length and count.
void RepeatPiece(std::wstring& text, std::size_t longest, Random& random) {
    const Span span = PieceOf(text, random);
    const std::wstring piece = text.substr(span.begin, span.length);
    if (piece.empty()) {
        return;
    }
    const std::size_t most = longest / piece.size();
    std::wstring repeated;
    for (std::size_t count =
             random.Between(1, random.OneIn(8) ? std::max<std::size_t>(most, 1) : 4);
         count != 0; --count) {
        repeated += piece;
    }
    text.insert(span.begin, repeated);
}

void MutateText(std::wstring& text, const Input& other, const Vocabulary& vocabulary,
                Random& random) {
    const Span piece = PieceOf(text, random);
    switch (random.Below(8)) {
        case 0:
            text.erase(piece.begin, piece.length);
            break;
        case 1:
            RepeatPiece(text, vocabulary.longest, random);
            break;
        case 2:
            text.replace(piece.begin, piece.length, NewPiece(other, vocabulary, random));
            break;
        case 3:
            if (piece.begin < text.size()) {
                text[piece.begin] =
                    static_cast<wchar_t>(text[piece.begin] ^ (1U << random.Below(8)));
            }
            break;
        case 4:
            if (piece.begin < text.size()) {
                text[piece.begin] = random.Character(vocabulary.characters);
            }
            break;
        default:
            text.insert(piece.begin, NewPiece(other, vocabulary, random));
            break;
    }
    text.resize(std::min(text.size(), vocabulary.longest));
}

void MutateList(Input& input, const Input& other, const Vocabulary& vocabulary, Random& random) {
    constexpr std::size_t MostTexts = 64;
    const std::size_t place = random.Below(input.size() + 1);
    const auto at = input.begin() + static_cast<std::ptrdiff_t>(place);
    switch (random.Below(4)) {
        case 0:
            if (at != input.end()) {
                input.erase(at);
            }
            break;
        case 1:
            if (at != input.end()) {
                std::swap(*at, input[random.Below(input.size())]);
            }
            break;
        default:
            if (input.size() < MostTexts) {
                input.insert(at, NewPiece(other, vocabulary, random));
            }
            break;
    }
}

}  // namespace

void Mutate(Input& input, const Input& other, const Vocabulary& vocabulary, Random& random) {
    for (std::size_t count = random.Between(1, 4); count != 0; --count) {
        if (!vocabulary.fixedCount && (input.empty() || random.OneIn(3))) {
            MutateList(input, other, vocabulary, random);
        } else if (!input.empty()) {
            MutateText(input[random.Below(input.size())], other, vocabulary, random);
        }
    }
}

}  // namespace fuzz
