#include "tools/quillon-log/pattern.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "tools/quillon-log/case_fold.h"

namespace quillon_log {
namespace {

using Kind = Pattern::Kind;
using Range = Pattern::Range;
using Set = Pattern::Set;
using Step = Pattern::Step;

constexpr std::size_t MostSteps = 4000;
constexpr int MostRepeats = 1000;
constexpr int DeepestNesting = 100;
constexpr int NoLimit = -1;

struct Node;
using NodePointer = std::unique_ptr<Node>;

/// A part of the expression.
struct Node {
    enum class Type { Single, Sequence, Choice, Repeat };
    Type type = Type::Sequence;
    Step step;                       // Single
    std::vector<NodePointer> parts;  // Sequence and Choice: all; Repeat: the one repeated
    int least = 0;                   // Repeat
    int most = NoLimit;
};

bool IsWord(wchar_t character) {
    return character == L'_' || (character >= L'0' && character <= L'9') ||
           (character >= L'a' && character <= L'z') || (character >= L'A' && character <= L'Z') ||
           character >= 0xC0;
}

class Parser {
  public:
    Parser(std::wstring_view expression, std::vector<Set>& sets) : rest_(expression), sets_(sets) {}

    NodePointer ParseAll() {
        NodePointer node = ParseChoice();
        if (error_.empty() && !rest_.empty()) {
            Fail(L"a ) has no (");
        }
        return node;
    }

    [[nodiscard]] const std::wstring& Error() const noexcept { return error_; }

  private:
    void Fail(const std::wstring& error) {
        error_ = error_.empty() ? error : error_;
        rest_ = {};
    }

    bool TryTake(wchar_t character) {
        if (rest_.empty() || rest_.front() != character) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    wchar_t Take() {
        const wchar_t character = rest_.front();
        rest_.remove_prefix(1);
        return character;
    }

    static NodePointer Single(const Step& step) {
        auto node = std::make_unique<Node>();
        node->type = Node::Type::Single;
        node->step = step;
        return node;
    }

    NodePointer OfSet(Set set) {
        Step step;
        step.kind = Kind::Set;
        step.other = static_cast<std::uint32_t>(sets_.size());
        sets_.push_back(std::move(set));
        return Single(step);
    }

    static NodePointer OfKind(Kind kind, wchar_t character = 0) {
        Step step;
        step.kind = kind;
        step.character = character;
        return Single(step);
    }

    NodePointer ParseChoice() {
        auto choice = std::make_unique<Node>();
        choice->type = Node::Type::Choice;
        if (++depth_ > DeepestNesting) {
            Fail(L"its parentheses are nested too deep");
        }
        do {
            choice->parts.push_back(ParseSequence());
        } while (TryTake(L'|'));
        --depth_;
        return choice;
    }

    NodePointer ParseSequence() {
        auto sequence = std::make_unique<Node>();
        while (!rest_.empty() && rest_.front() != L'|' && rest_.front() != L')') {
            sequence->parts.push_back(ParseRepeats(ParseSingle()));
        }
        return sequence;
    }

    NodePointer ParseRepeats(NodePointer node) {
        while (!rest_.empty()) {
            int least = 0;
            int most = NoLimit;
            if (TryTake(L'+')) {
                least = 1;
            } else if (TryTake(L'?')) {
                most = 1;
            } else if (TryTake(L'{')) {
                TakeCounts(least, most);
            } else if (!TryTake(L'*')) {
                break;
            }
            auto repeat = std::make_unique<Node>();
            repeat->type = Node::Type::Repeat;
            repeat->least = least;
            repeat->most = most;
            repeat->parts.push_back(std::move(node));
            node = std::move(repeat);
        }
        return node;
    }

    void TakeCounts(int& least, int& most) {
        const std::optional<int> first = TakeCount();
        std::optional<int> second = first;
        if (TryTake(L',')) {
            second = rest_.starts_with(L'}') ? NoLimit : TakeCount();
        }
        if (!first || !second || !TryTake(L'}') || (*second != NoLimit && *second < *first)) {
            Fail(L"a { begins a count such as {2}, {2,} or {2,5}, at most " +
                 std::to_wstring(MostRepeats));
            return;
        }
        least = *first;
        most = *second;
    }

    std::optional<int> TakeCount() {
        int count = 0;
        bool isAny = false;
        while (!rest_.empty() && rest_.front() >= L'0' && rest_.front() <= L'9' &&
               count <= MostRepeats) {
            count = count * 10 + (Take() - L'0');
            isAny = true;
        }
        return isAny && count <= MostRepeats ? std::optional(count) : std::nullopt;
    }

    NodePointer ParseSingle() {
        const wchar_t character = Take();
        switch (character) {
            case L'(': {
                NodePointer inner = ParseChoice();
                if (error_.empty() && !TryTake(L')')) {
                    Fail(L"a ( has no )");
                }
                return inner;
            }
            case L'[':
                return ParseSet();
            case L'.':
                return OfSet({{{L'\n', L'\n'}}, true});
            case L'^':
                return OfKind(Kind::LineBegin);
            case L'$':
                return OfKind(Kind::LineEnd);
            case L'*':
            case L'+':
            case L'?':
            case L'{':
                Fail(std::wstring(L"there is nothing for the ") + character + L" to repeat");
                return OfKind(Kind::Match);
            case L'\\':
                return ParseEscape();
            default:
                return OfKind(Kind::Character, Capital(character));
        }
    }

    NodePointer ParseEscape() {
        if (TryTake(L'b')) {
            return OfKind(Kind::WordEdge);
        }
        if (std::optional<Set> set = TakeNamedSet()) {
            return OfSet(*std::move(set));
        }
        return OfKind(Kind::Character, Capital(TakeEscaped()));
    }

    /// What follows a backslash, if it is the name of a set.
    std::optional<Set> TakeNamedSet() {
        if (rest_.empty()) {
            return std::nullopt;
        }
        Set set;
        switch (rest_.front()) {
            case L'd':
            case L'D':
                set.ranges = {{L'0', L'9'}};
                break;
            case L's':
            case L'S':
                set.ranges = {{L' ', L' '}, {L'\t', L'\r'}, {0xA0, 0xA0}};
                break;
            case L'w':
            case L'W':
                set.ranges = {{L'0', L'9'}, {L'A', L'Z'}, {L'_', L'_'}, {0xC0, 0xFFFF}};
                break;
            default:
                return std::nullopt;
        }
        set.isNegated = Take() < L'a';
        return set;
    }

    wchar_t TakeEscaped() {
        if (rest_.empty()) {
            Fail(L"it ends in a backslash");
            return 0;
        }
        const wchar_t character = Take();
        if (character == L't') {
            return L'\t';
        }
        if (character == L'n') {
            return L'\n';
        }
        if (IsWord(character) && character < 0x80 && character != L'_') {
            Fail(std::wstring(L"it has no \\") + character);
        }
        return character;
    }

    NodePointer ParseSet() {
        Set set;
        set.isNegated = TryTake(L'^');
        bool isFirst = true;
        while (!rest_.empty() && (isFirst || rest_.front() != L']')) {
            isFirst = false;
            AddToSet(set);
        }
        if (error_.empty() && !TryTake(L']')) {
            Fail(L"a [ has no ]");
        }
        return OfSet(std::move(set));
    }

    void AddToSet(Set& set) {
        wchar_t first = Take();
        if (first == L'\\') {
            if (const std::optional<Set> named = TakeNamedSet()) {
                if (named->isNegated) {
                    Fail(L"a set can't hold \\D, \\W or \\S");
                }
                set.ranges.insert(set.ranges.end(), named->ranges.begin(), named->ranges.end());
                return;
            }
            first = TakeEscaped();
        }
        wchar_t last = first;
        if (rest_.size() > 1 && rest_.front() == L'-' && rest_[1] != L']') {
            rest_.remove_prefix(1);
            last = Take();
            if (last == L'\\') {
                last = TakeEscaped();
            }
        }
        if (last < first) {
            Fail(L"a range of a set runs backwards");
            return;
        }
        AddRange(set, first, last);
    }

    /// Also the capitals of the range: a search compares capitals.
    static void AddRange(Set& set, wchar_t first, wchar_t last) {
        set.ranges.emplace_back(first, last);
        for (std::uint32_t code = first; code <= last; ++code) {
            const wchar_t capital = Capital(static_cast<wchar_t>(code));
            if (capital == code) {
                continue;
            }
            if (set.ranges.back().second + 1 == capital) {
                set.ranges.back().second = capital;
            } else {
                set.ranges.emplace_back(capital, capital);
            }
        }
    }

    std::wstring_view rest_;
    std::vector<Set>& sets_;
    std::wstring error_;
    int depth_ = 0;
};

/// Writes the steps of a part one after the other. False if they become too many. `work` counts the
/// parts, which repeats of nothing multiply without a step.
bool Compile(const Node& node, std::vector<Step>& steps, std::size_t& work) {
    const auto add = [&steps](Kind kind) {
        Step step;
        step.kind = kind;
        steps.push_back(step);
        return steps.size() - 1;
    };
    const auto here = [&steps] { return static_cast<std::uint32_t>(steps.size()); };
    constexpr std::size_t MostWork = 10 * MostSteps;
    if (steps.size() > MostSteps || ++work > MostWork) {
        return false;
    }
    switch (node.type) {
        case Node::Type::Single:
            steps.push_back(node.step);
            return true;
        case Node::Type::Sequence:
            return std::all_of(node.parts.begin(), node.parts.end(),
                               [&](const auto& part) { return Compile(*part, steps, work); });
        case Node::Type::Choice: {
            std::vector<std::size_t> jumps;
            for (std::size_t index = 0; index < node.parts.size(); ++index) {
                const bool isLast = index + 1 == node.parts.size();
                const std::size_t split = isLast ? 0 : add(Kind::Split);
                if (!isLast) {
                    steps[split].to = here();
                }
                if (!Compile(*node.parts[index], steps, work)) {
                    return false;
                }
                if (!isLast) {
                    jumps.push_back(add(Kind::Jump));
                    steps[split].other = here();
                }
            }
            for (const std::size_t jump : jumps) {
                steps[jump].to = here();
            }
            return true;
        }
        default:
            break;
    }
    const Node& part = *node.parts.front();
    for (int count = 0; count < node.least; ++count) {
        if (!Compile(part, steps, work)) {
            return false;
        }
    }
    if (node.most == NoLimit) {
        const std::size_t split = add(Kind::Split);
        steps[split].to = here();
        if (!Compile(part, steps, work)) {
            return false;
        }
        steps[add(Kind::Jump)].to = static_cast<std::uint32_t>(split);
        steps[split].other = here();
        return true;
    }
    std::vector<std::size_t> splits;
    for (int count = node.least; count < node.most; ++count) {
        splits.push_back(add(Kind::Split));
        steps[splits.back()].to = here();
        if (!Compile(part, steps, work)) {
            return false;
        }
    }
    for (const std::size_t split : splits) {
        steps[split].other = here();
    }
    return true;
}

/// The steps that a search is in at one character.
class Places {
  public:
    explicit Places(std::size_t count) : marks_(count) {}

    void Clear() {
        ++mark_;
        list_.clear();
    }
    /// False if the step was added before.
    bool Mark(std::uint32_t step) { return std::exchange(marks_[step], mark_) != mark_; }
    void Add(std::uint32_t step) { list_.push_back(step); }
    [[nodiscard]] const std::vector<std::uint32_t>& List() const noexcept { return list_; }

  private:
    std::vector<std::uint32_t> marks_;
    std::uint32_t mark_ = 1;
    std::vector<std::uint32_t> list_;
};

/// One search through one text.
class Search {
  public:
    Search(const std::vector<Step>& steps, std::wstring_view text)
        : steps_(steps), text_(text), now_(steps.size()), next_(steps.size()) {}

    /// Adds a step with all that it leads to without a character. True at the end of the pattern.
    bool Enter(Places& places, std::uint32_t first, std::size_t at) {
        stack_.assign(1, first);
        while (!stack_.empty()) {
            const std::uint32_t index = stack_.back();
            stack_.pop_back();
            if (!places.Mark(index)) {
                continue;
            }
            const Step& step = steps_[index];
            switch (step.kind) {
                case Kind::Match:
                    return true;
                case Kind::Split:
                    stack_.push_back(step.other);
                    stack_.push_back(step.to);
                    break;
                case Kind::Jump:
                    stack_.push_back(step.to);
                    break;
                case Kind::LineBegin:
                case Kind::LineEnd:
                case Kind::WordEdge:
                    if (Holds(step.kind, at)) {
                        stack_.push_back(index + 1);
                    }
                    break;
                default:
                    places.Add(index);
            }
        }
        return false;
    }

    Places& Now() { return now_; }
    Places& Next() { return next_; }
    void NextCharacter() { std::swap(now_, next_); }

  private:
    [[nodiscard]] bool Holds(Kind kind, std::size_t at) const {
        const bool isBegin = at == 0;
        const bool isEnd = at == text_.size();
        switch (kind) {
            case Kind::LineBegin:
                return isBegin || text_[at - 1] == L'\n';
            case Kind::LineEnd:
                return isEnd || text_[at] == L'\n';
            default:
                return (!isBegin && IsWord(text_[at - 1])) != (!isEnd && IsWord(text_[at]));
        }
    }

    const std::vector<Step>& steps_;
    std::wstring_view text_;
    Places now_;
    Places next_;
    std::vector<std::uint32_t> stack_;
};

}  // namespace

bool Pattern::Set::Holds(wchar_t capital) const {
    const bool isIn = std::any_of(ranges.begin(), ranges.end(), [capital](const Range& range) {
        return capital >= range.first && capital <= range.second;
    });
    return isIn != isNegated;
}

std::variant<Pattern, std::wstring> Pattern::Parse(std::wstring_view expression) {
    Pattern pattern;
    Parser parser(expression, pattern.sets_);
    const NodePointer node = parser.ParseAll();
    if (!parser.Error().empty()) {
        return parser.Error();
    }
    std::size_t work = 0;
    if (!Compile(*node, pattern.steps_, work) || pattern.steps_.size() > MostSteps) {
        return std::wstring(L"it is too long");
    }
    pattern.steps_.emplace_back();
    pattern.FindFirstCharacters();
    return pattern;
}

void Pattern::FindFirstCharacters() {
    // Conditions on the place are taken to hold: then too many characters can begin a match, but
    // none is left out.
    std::vector<bool> seen(steps_.size());
    std::vector<std::uint32_t> stack = {0};
    while (!stack.empty()) {
        const std::uint32_t index = stack.back();
        stack.pop_back();
        if (seen[index]) {
            continue;
        }
        seen[index] = true;
        const Step& step = steps_[index];
        switch (step.kind) {
            case Kind::Match:
                canBegin_.fill(true);
                return;
            case Kind::Split:
                stack.push_back(step.other);
                [[fallthrough]];
            case Kind::Jump:
                stack.push_back(step.to);
                break;
            case Kind::Character:
                if (step.character < canBegin_.size()) {
                    canBegin_[step.character] = true;
                }
                break;
            case Kind::Set:
                for (std::size_t code = 0; code < canBegin_.size(); ++code) {
                    canBegin_[code] =
                        canBegin_[code] || sets_[step.other].Holds(static_cast<wchar_t>(code));
                }
                break;
            default:
                stack.push_back(index + 1);
        }
    }
}

bool Pattern::IsIn(std::wstring_view text) const {
    Search search(steps_, text);
    search.Now().Clear();
    for (std::size_t at = 0; at <= text.size(); ++at) {
        const wchar_t capital = at < text.size() ? Capital(text[at]) : L'\0';
        const bool canBegin =
            at == text.size() || capital >= canBegin_.size() || canBegin_[capital];
        if (canBegin && search.Enter(search.Now(), 0, at)) {
            return true;
        }
        if (at == text.size()) {
            return false;
        }
        search.Next().Clear();
        for (const std::uint32_t index : search.Now().List()) {
            const Step& step = steps_[index];
            const bool isTaken = step.kind == Kind::Character ? step.character == capital
                                                              : sets_[step.other].Holds(capital);
            if (isTaken && search.Enter(search.Next(), index + 1, at + 1)) {
                return true;
            }
        }
        search.NextCharacter();
    }
    return false;
}

}  // namespace quillon_log
