#ifndef TOOLS_QUILLON_LOG_PATTERN_H
#define TOOLS_QUILLON_LOG_PATTERN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace quillon_log {

/// A regular expression, matched ignoring case. The time of a search grows with the length of the
/// text times that of the pattern, whatever the pattern; its memory with that of the pattern alone.
///
/// Syntax: `.` `[abc]` `[^a-z]` `*` `+` `?` `{2}` `{2,5}` `{2,}` `|` `( )`, `^` and `$` for the
/// begin and end of a line, `\d` `\w` `\s` for a digit, a character of a word, a blank (`\D` `\W`
/// `\S` for any other), `\b` for the edge of a word; `\` before anything else that isn't a letter
/// or digit means that character.
class Pattern {
  public:
    /// The pattern, or what is wrong with the expression.
    [[nodiscard]] static std::variant<Pattern, std::wstring> Parse(std::wstring_view expression);

    /// Whether the pattern matches somewhere in the text.
    [[nodiscard]] bool IsIn(std::wstring_view text) const;

    /// Characters from the first to the last, both included, in capitals.
    using Range = std::pair<wchar_t, wchar_t>;
    struct Set {
        std::vector<Range> ranges;
        bool isNegated = false;
        [[nodiscard]] bool Holds(wchar_t capital) const;
    };

    enum class Kind : std::uint8_t {
        Character,
        Set,
        Split,
        Jump,
        LineBegin,
        LineEnd,
        WordEdge,
        Match
    };
    /// A step of the search.
    struct Step {
        Kind kind = Kind::Match;
        wchar_t character = 0;    ///< in capitals
        std::uint32_t to = 0;     ///< the next step of a jump; the first choice of a split
        std::uint32_t other = 0;  ///< the second choice of a split; the index of a set
    };

  private:
    Pattern() = default;
    void FindFirstCharacters();

    std::vector<Step> steps_;
    std::vector<Set> sets_;
    /// ASCII capitals that a match can begin with. Any other character can.
    std::array<bool, 128> canBegin_{};
};

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_PATTERN_H
