#include "tests/fuzz/script_model.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>

namespace fuzz {
namespace {

constexpr int DeepestAction = 64;
constexpr std::uint64_t Largest32 = 0xFFFFFFFF;

/// What follows each word, a letter for each thing:
///   w a word              u a number of 32 bits    i the same, or one with a sign
///   f an ASCII word       r calls: 1, 1+, 1-2...   q a wider number, or one with a sign
///   t a text or null      T the rest as a text     R the rest as it stands
///   c a component         l a level                C chatty's settings
///   a an action           N null, or an action     m multi or single
///   k a kind of crash     p a point with an action n 1 to 256
///   o the end, or else what follows                x text=, if it is there
const std::map<std::wstring, std::wstring> Statements = {{L"on", L"p"},
                                                         {L"routine", L"wa"},
                                                         {L"transcript", L"R"},
                                                         {L"healthy", L""},
                                                         {L"chatty", L"C"},
                                                         {L"registrar-results", L"ii"},
                                                         {L"fail-import", L"fruoqx"},
                                                         {L"fail-status", L"ru"},
                                                         {L"before-import", L"fra"},
                                                         {L"trace-import", L"f"},
                                                         {L"record-status", L""}};

const std::map<std::wstring, std::wstring> ActionWords = {{L"delay", L"u"},
                                                          {L"wait-event", L"wou"},
                                                          {L"set-event", L"w"},
                                                          {L"log", L"lcT"},
                                                          {L"enable-stop", L""},
                                                          {L"interrupt", L""},
                                                          {L"flush", L""},
                                                          {L"register", L""},
                                                          {L"set-callback", L"N"},
                                                          {L"remove-callback", L""},
                                                          {L"crash", L"k"},
                                                          {L"thread", L"a"},
                                                          {L"detached-thread", L"a"},
                                                          {L"threads", L"na"},
                                                          {L"after", L"ua"},
                                                          {L"when-event", L"wa"},
                                                          {L"repeat", L"ua"},
                                                          {L"call", L"w"},
                                                          {L"exit", L"i"},
                                                          {L"com-init", L"m"}};

const std::set<std::wstring> Points = {L"attach", L"create",     L"load", L"activate",
                                       L"notify", L"deactivate", L"free", L"bootstrap"};
const std::set<std::wstring> Levels = {L"trace", L"warning", L"error", L"verbose"};
const std::map<std::wstring, std::wstring> Crashes = {{L"read", L""},
                                                      {L"write", L""},
                                                      {L"execute", L""},
                                                      {L"divide", L""},
                                                      {L"illegal", L""},
                                                      {L"breakpoint", L""},
                                                      {L"cpp", L""},
                                                      {L"raise", L"u"},
                                                      {L"heap-corruption", L""},
                                                      {L"stack-overflow", L""},
                                                      {L"fail-fast", L""},
                                                      {L"handled", L"uou"}};

std::optional<std::uint64_t> Number(const std::wstring& text) {
    const bool hexadecimal = text.starts_with(L"0x") || text.starts_with(L"0X");
    const std::wstring digits = hexadecimal ? text.substr(2) : text;
    const std::wstring known = hexadecimal ? L"0123456789abcdefABCDEF" : L"0123456789";
    if (digits.empty() || digits.find_first_not_of(known) != digits.npos) {
        return std::nullopt;
    }
    try {
        return std::stoull(digits, nullptr, hexadecimal ? 16 : 10);
    } catch (const std::out_of_range&) {
        return std::nullopt;
    }
}

bool Fits32(const std::wstring& text) {
    return Number(text).value_or(Largest32 + 1) <= Largest32;
}

bool IsCalls(const std::wstring& text) {
    if (text == L"every") {
        return true;
    }
    const bool open = text.ends_with(L'+');
    const std::wstring range = open ? text.substr(0, text.size() - 1) : text;
    const std::size_t dash = open ? range.npos : range.find(L'-');
    const std::uint64_t first = Number(range.substr(0, dash)).value_or(0);
    const std::uint64_t last =
        dash == range.npos ? first : Number(range.substr(dash + 1)).value_or(0);
    return first != 0 && (open || (first <= last && last <= Largest32));
}

/// The number of characters of a text with escapes; nothing if an escape is unknown.
std::optional<std::size_t> UnescapedLength(const std::wstring& text) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size(); ++count) {
        if (text[at] != L'\\') {
            ++at;
        } else if (text.substr(at + 1, 1).find_first_of(L"nrt\\\"") == 0) {
            at += 2;
        } else if (text.substr(at + 1, 1) == L"x" && text.size() >= at + 6 &&
                   Number(L"0x" + text.substr(at + 2, 4))) {
            at += 6;
        } else {
            return std::nullopt;
        }
    }
    return count;
}

class Line {
  public:
    /// `calls` receives the routines that the line calls.
    Line(std::wstring text, std::set<std::wstring>& calls) : rest_(std::move(text)), calls_(calls) {
        Trim();
    }

    [[nodiscard]] bool Empty() const { return rest_.empty(); }
    [[nodiscard]] std::wstring Peek() const { return rest_.substr(0, rest_.find_first_of(L" \t")); }
    std::wstring Word() {
        const std::wstring word = Peek();
        Drop(word.size());
        return word;
    }

    /// Whether the line consists of exactly the parts of `shape`.
    bool Follows(const std::wstring& shape, int depth = 0, bool create = false) {
        for (const wchar_t kind : shape) {
            if (kind == L'o') {
                if (rest_.empty() || rest_.starts_with(L"text=")) {
                    break;
                }
            } else if (!Part(kind, depth, create)) {
                return false;
            }
        }
        if (shape.ends_with(L'x') && rest_.starts_with(L"text=")) {
            Word();
        }
        return rest_.empty();
    }

  private:
    void Trim() { rest_.erase(0, std::min(rest_.find_first_not_of(L" \t"), rest_.size())); }
    void Drop(std::size_t count) {
        rest_.erase(0, count);
        Trim();
    }

    bool Part(wchar_t kind, int depth, bool create) {
        const bool there = !rest_.empty();
        switch (kind) {
            case L'w':
                return there && !Word().empty();
            case L'f': {
                const std::wstring word = Word();
                return there && std::all_of(word.begin(), word.end(),
                                            [](wchar_t letter) { return letter < 0x80; });
            }
            case L'u':
                return Fits32(Word());
            case L'n': {
                const std::uint64_t count = Number(Word()).value_or(0);
                return count >= 1 && count <= 256;
            }
            case L'i':
                return Signed();
            case L'q':
                return rest_.starts_with(L'-') ? Signed() : Number(Word()).has_value();
            case L'r':
                return IsCalls(Word());
            case L't':
                return Text();
            case L'T':
                return RestAsText();
            case L'R':
                rest_.clear();
                return there;
            case L'c':
                return Peek() == L"default" ? !Word().empty() : Text();
            case L'l':
                return Levels.contains(Peek()) ? !Word().empty() : Signed();
            case L'C':
                return Chatter();
            case L'a':
                return Action(depth + 1, false, create);
            case L'N':
                return Peek() == L"null" ? !Word().empty() : Action(depth + 1, false, create);
            case L'm': {
                const std::wstring word = Word();
                return word == L"multi" || word == L"single";
            }
            case L'k': {
                const auto crash = Crashes.find(Word());
                return crash != Crashes.end() && Follows(crash->second);
            }
            case L'p':
                return PointLine();
            default:
                return true;
        }
    }

    bool Signed() {
        if (!rest_.starts_with(L'-')) {
            return Fits32(Word());
        }
        Drop(1);
        return Number(Word()).value_or(Largest32) <= 0x80000000;
    }

    /// In quotes, or up to the next blank.
    bool Text() {
        if (rest_.starts_with(L'"')) {
            return Quoted();
        }
        const std::wstring word = Word();
        return !word.empty() && UnescapedLength(word).has_value();
    }

    bool Quoted() {
        std::size_t end = 1;
        while (end < rest_.size() && rest_[end] != L'"') {
            end += rest_[end] == L'\\' ? 2U : 1U;
        }
        if (end >= rest_.size() ||
            (end + 1 < rest_.size() && rest_[end + 1] != L' ' && rest_[end + 1] != L'\t')) {
            return false;
        }
        const std::wstring inside = rest_.substr(1, end - 1);
        Drop(end + 1);
        return UnescapedLength(inside).has_value();
    }

    bool RestAsText() {
        if (rest_.empty() || rest_.starts_with(L'"')) {
            return !rest_.empty() && Quoted();
        }
        std::wstring text = rest_.substr(0, rest_.find_last_not_of(L" \t") + 1);
        rest_.clear();
        if (!text.starts_with(L"repeat:")) {
            return UnescapedLength(text).has_value();
        }
        text.erase(0, 7);
        const std::size_t colon = text.rfind(L':');
        return colon != text.npos && UnescapedLength(text.substr(0, colon)) == std::size_t{1} &&
               Number(text.substr(colon + 1)).value_or(Largest32) <= 1000000;
    }

    bool Chatter() {
        std::map<std::wstring, std::uint64_t> settings = {
            {L"threads", 1}, {L"rate", 10}, {L"length", 80}, {L"lines", 0}};
        while (!rest_.empty()) {
            const std::wstring word = Word();
            const std::size_t equals = word.find(L'=');
            const auto setting = settings.find(word.substr(0, equals));
            if (setting == settings.end() || equals == word.npos ||
                !Fits32(word.substr(equals + 1))) {
                return false;
            }
            setting->second = *Number(word.substr(equals + 1));
        }
        return settings[L"threads"] >= 1 && settings[L"threads"] <= 64 &&
               settings[L"length"] >= 1 && settings[L"length"] <= 1000000;
    }

    bool PointLine() {
        const std::wstring word = Word();
        const std::size_t colon = word.find(L':');
        const std::wstring point = word.substr(0, colon);
        return Points.contains(point) && (colon == word.npos || IsCalls(word.substr(colon + 1))) &&
               Action(1, true, point == L"create");
    }

    bool Action(int depth, bool atPoint, bool create) {
        const std::wstring word = Word();
        if (word == L"return" || word == L"null-controller") {
            return atPoint && (word == L"return" ? Signed() : create) && rest_.empty();
        }
        const auto action = ActionWords.find(word);
        if (action == ActionWords.end() || depth > DeepestAction) {
            return false;
        }
        if (word == L"call") {
            calls_.insert(Peek());
        }
        return Follows(action->second, depth);
    }

    std::wstring rest_;
    std::set<std::wstring>& calls_;
};

using Routines = std::map<std::wstring, std::set<std::wstring>>;

/// Whether every routine reachable from `calls` exists and none calls `self`.
bool Reaches(const Routines& routines, const std::set<std::wstring>& calls,
             const std::wstring* self, std::set<std::wstring>& seen) {
    return std::all_of(calls.begin(), calls.end(), [&](const std::wstring& name) {
        const auto routine = routines.find(name);
        return routine != routines.end() && (self == nullptr || name != *self) &&
               (!seen.insert(name).second || Reaches(routines, routine->second, self, seen));
    });
}

bool AreSound(const Routines& routines, const std::set<std::wstring>& calls) {
    std::set<std::wstring> seen;
    return Reaches(routines, calls, nullptr, seen) &&
           std::all_of(routines.begin(), routines.end(), [&](const auto& routine) {
               std::set<std::wstring> seenFromHere;
               return Reaches(routines, routine.second, &routine.first, seenFromHere);
           });
}

}  // namespace

ScriptOutcome ModelOfScript(const std::wstring& text) {
    ScriptOutcome outcome;
    Routines routines;
    std::set<std::wstring> calls;
    std::size_t number = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t feed = std::min(text.find(L'\n', begin), text.size());
        std::wstring content = text.substr(begin, feed - begin);
        begin = feed + 1;
        ++number;
        if (content.ends_with(L'\r')) {
            content.pop_back();
        }
        std::set<std::wstring> lineCalls;
        Line line(content, lineCalls);
        if (line.Empty() || line.Peek().starts_with(L'#')) {
            continue;
        }
        const std::wstring statement = line.Word();
        const std::wstring name = line.Peek();
        const auto known = Statements.find(statement);
        if (known == Statements.end() || !line.Follows(known->second)) {
            outcome = {};
            outcome.mistakeLine = number;
            return outcome;
        }
        std::set<std::wstring>& called = statement == L"routine" ? routines[name] : calls;
        called.insert(lineCalls.begin(), lineCalls.end());
        outcome.pointLines += statement == L"on" ? 1U : 0U;
        const bool isRule = statement.ends_with(L"-import") || statement.ends_with(L"-status");
        outcome.importRules += isRule ? 1U : 0U;
    }
    outcome.routines = routines.size();
    outcome.accepted = AreSound(routines, calls);
    return outcome.accepted ? outcome : ScriptOutcome{};
}

}  // namespace fuzz
