#include "tools/quillon-log/case_fold.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "framework/system/platform.h"

namespace quillon_log {
namespace {

/// One entry for each 16-bit character: asking the platform for each would be too slow for a
/// search.
std::vector<wchar_t> MakeTable() {
    constexpr std::size_t CharacterCount = 0x10000;
    std::vector<wchar_t> all(CharacterCount);
    for (std::size_t code = 0; code < CharacterCount; ++code) {
        all[code] = static_cast<wchar_t>(code);
    }
    std::vector<wchar_t> capitals(CharacterCount);
    if (::LCMapStringW(LOCALE_INVARIANT, LCMAP_UPPERCASE, all.data(),
                       static_cast<int>(CharacterCount), capitals.data(),
                       static_cast<int>(CharacterCount)) != static_cast<int>(CharacterCount)) {
        return all;
    }
    return capitals;
}

const wchar_t* Table() {
    static const std::vector<wchar_t> table = MakeTable();
    return table.data();
}

}  // namespace

wchar_t Capital(wchar_t character) {
    return Table()[character];
}

std::wstring Capitals(std::wstring_view text) {
    std::wstring capitals(text);
    std::transform(capitals.begin(), capitals.end(), capitals.begin(), Capital);
    return capitals;
}

bool IsSameText(std::wstring_view left, std::wstring_view right) {
    const wchar_t* table = Table();
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [table](wchar_t a, wchar_t b) { return table[a] == table[b]; });
}

bool ContainsText(std::wstring_view text, std::wstring_view part) {
    if (part.empty()) {
        return true;
    }
    const wchar_t* table = Table();
    const wchar_t first = part.front();
    for (std::size_t at = 0; at + part.size() <= text.size(); ++at) {
        if (table[text[at]] == first && IsSameText(text.substr(at, part.size()), part)) {
            return true;
        }
    }
    return false;
}

}  // namespace quillon_log
