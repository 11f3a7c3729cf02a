#include "dev-controller/script_words.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace dev_controller {
namespace {

constexpr std::wstring_view Blanks = L" \t";
constexpr std::wstring_view RepeatPrefix = L"repeat:";
constexpr std::uint64_t MaximumRepeat = 1000000;
constexpr int MaximumDepth = 64;

int DigitValue(wchar_t digit) {
    if (digit >= L'0' && digit <= L'9') {
        return digit - L'0';
    }
    if (digit >= L'a' && digit <= L'f') {
        return digit - L'a' + 10;
    }
    if (digit >= L'A' && digit <= L'F') {
        return digit - L'A' + 10;
    }
    return -1;
}

/// The position of the quote that ends a quoted text; `text` begins with the first one.
std::size_t ClosingQuote(std::wstring_view text) {
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == L'\\') {
            ++i;
        } else if (text[i] == L'"') {
            return i;
        }
    }
    return std::wstring_view::npos;
}

}  // namespace

std::optional<std::uint64_t> ParseNumber(std::wstring_view text) {
    const bool hexadecimal = text.starts_with(L"0x") || text.starts_with(L"0X");
    const std::uint64_t base = hexadecimal ? 16 : 10;
    if (hexadecimal) {
        text.remove_prefix(2);
    }
    if (text.empty()) {
        return std::nullopt;
    }
    std::uint64_t value = 0;
    for (const wchar_t character : text) {
        const int digit = DigitValue(character);
        if (digit < 0 || static_cast<std::uint64_t>(digit) >= base) {
            return std::nullopt;
        }
        const auto added = static_cast<std::uint64_t>(digit);
        if (value > (std::numeric_limits<std::uint64_t>::max() - added) / base) {
            return std::nullopt;
        }
        value = value * base + added;
    }
    return value;
}

ScriptWords::Nesting::Nesting(ScriptWords& words) : words_(words) {
    if (++words_.depth_ > MaximumDepth) {
        words_.Fail(L"actions stand within each other at most 64 deep");
    }
}

void ScriptWords::SkipBlanks() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(Blanks), rest_.size()));
}

bool ScriptWords::AtEnd() {
    SkipBlanks();
    return mistake_.has_value() || rest_.empty();
}

std::wstring_view ScriptWords::Peek() {
    return AtEnd() ? std::wstring_view() : rest_.substr(0, rest_.find_first_of(Blanks));
}

std::wstring_view ScriptWords::Word(const wchar_t* what) {
    const std::wstring_view word = Peek();
    if (word.empty()) {
        Fail(std::wstring(what) + L" is missing");
        return {};
    }
    rest_.remove_prefix(word.size());
    return word;
}

std::wstring ScriptWords::Rest(const wchar_t* what) {
    if (AtEnd()) {
        Fail(std::wstring(what) + L" is missing");
        return {};
    }
    const std::wstring_view text = rest_.substr(0, rest_.find_last_not_of(Blanks) + 1);
    rest_ = {};
    return std::wstring(text);
}

std::wstring ScriptWords::Text(const wchar_t* what) {
    if (!AtEnd() && rest_.front() == L'"') {
        return QuotedText();
    }
    return Unescaped(Word(what));
}

std::optional<std::wstring> ScriptWords::NullableText(const wchar_t* what) {
    if (Peek() == L"null") {
        Word(what);
        return std::nullopt;
    }
    return Text(what);
}

std::optional<std::wstring> ScriptWords::RestAsText(const wchar_t* what) {
    if (!AtEnd() && rest_.front() == L'"') {
        std::wstring text = QuotedText();
        ExpectEnd();
        return text;
    }
    const std::wstring text = Rest(what);
    if (text == L"null") {
        return std::nullopt;
    }
    return std::wstring_view(text).starts_with(RepeatPrefix) ? RepeatedCharacter(text)
                                                             : Unescaped(text);
}

std::wstring ScriptWords::QuotedText() {
    const std::size_t end = ClosingQuote(rest_);
    if (end == std::wstring_view::npos) {
        Fail(L"the closing quote is missing");
        return {};
    }
    const std::wstring_view inside = rest_.substr(1, end - 1);
    rest_.remove_prefix(end + 1);
    if (!rest_.empty() && Blanks.find(rest_.front()) == std::wstring_view::npos) {
        Fail(L"a blank is missing after the closing quote");
    }
    return Unescaped(inside);
}

std::wstring ScriptWords::Unescaped(std::wstring_view text) {
    constexpr std::wstring_view Letters = L"nrt\\\"";
    constexpr std::wstring_view Meanings = L"\n\r\t\\\"";
    std::wstring result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != L'\\') {
            result += text[i];
            continue;
        }
        ++i;
        const std::size_t letter =
            i < text.size() ? Letters.find(text[i]) : std::wstring_view::npos;
        if (letter != std::wstring_view::npos) {
            result += Meanings[letter];
            continue;
        }
        const bool hexadecimal = i + 4 < text.size() && text[i] == L'x';
        const auto code =
            hexadecimal ? ParseNumber(L"0x" + std::wstring(text.substr(i + 1, 4))) : std::nullopt;
        if (!code) {
            Fail(L"unknown escape; known are \\n \\r \\t \\\\ \\\" and \\x with four digits");
            return {};
        }
        result += static_cast<wchar_t>(*code);
        i += 4;
    }
    return result;
}

std::wstring ScriptWords::RepeatedCharacter(std::wstring_view text) {
    text.remove_prefix(RepeatPrefix.size());
    const std::size_t colon = text.find_last_of(L':');
    const std::wstring character =
        colon == std::wstring_view::npos ? std::wstring() : Unescaped(text.substr(0, colon));
    const auto count =
        colon == std::wstring_view::npos ? std::nullopt : ParseNumber(text.substr(colon + 1));
    if (character.size() != 1 || !count || *count > MaximumRepeat) {
        Fail(L"a repeated text is repeat:CHARACTER:COUNT with at most 1000000 characters");
        return {};
    }
    return std::wstring(static_cast<std::size_t>(*count), character.front());
}

std::uint64_t ScriptWords::Unsigned64(const wchar_t* what) {
    const std::wstring_view word = Word(what);
    const auto number = ParseNumber(word);
    if (!number) {
        Fail(std::wstring(what) + L" is not a number: " + std::wstring(word));
        return 0;
    }
    return *number;
}

std::uint32_t ScriptWords::Unsigned(const wchar_t* what) {
    const std::uint64_t number = Unsigned64(what);
    if (number > std::numeric_limits<std::uint32_t>::max()) {
        Fail(std::wstring(what) + L" does not fit into 32 bits");
        return 0;
    }
    return static_cast<std::uint32_t>(number);
}

std::uint32_t ScriptWords::Bits32(const wchar_t* what) {
    constexpr std::uint32_t MostNegative = 0x80000000;
    if (!Peek().starts_with(L'-')) {
        return Unsigned(what);
    }
    rest_.remove_prefix(1);
    const std::uint32_t magnitude = Unsigned(what);
    if (magnitude > MostNegative) {
        Fail(std::wstring(what) + L" does not fit into 32 bits");
        return 0;
    }
    return 0U - magnitude;
}

void ScriptWords::Fail(std::wstring message) {
    if (!mistake_) {
        mistake_ = std::move(message);
    }
}

void ScriptWords::ExpectEnd() {
    if (!AtEnd()) {
        Fail(L"unexpected words at the end: " + std::wstring(rest_));
    }
}

}  // namespace dev_controller
