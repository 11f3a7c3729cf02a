#ifndef DEV_CONTROLLER_SCRIPT_WORDS_H
#define DEV_CONTROLLER_SCRIPT_WORDS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dev_controller {

/// Reads the words of one script line from left to right. The first mistake is kept and every later
/// read gives an empty value, so that a caller may read on and look for the mistake at the end.
class ScriptWords {
  public:
    explicit ScriptWords(std::wstring_view line) : rest_(line) {}

    /// True if nothing but blanks is left, and after a mistake.
    [[nodiscard]] bool AtEnd();
    /// The next word without reading it; empty at the end.
    [[nodiscard]] std::wstring_view Peek();

    /// A word that blanks end. `what` names it in the message if it is missing.
    std::wstring_view Word(const wchar_t* what);
    /// The rest of the line as it stands, without its outer blanks.
    std::wstring Rest(const wchar_t* what);
    /// A word in which escapes are replaced, or a text in quotes that may hold blanks.
    std::wstring Text(const wchar_t* what);
    /// As `Text`; null for the bare word `null`.
    std::optional<std::wstring> NullableText(const wchar_t* what);
    /// The rest of the line with its escapes replaced; a text in quotes keeps its outer blanks.
    /// Null for the bare word `null`; `repeat:CHAR:COUNT` gives one character many times.
    std::optional<std::wstring> RestAsText(const wchar_t* what);

    /// Decimal, or hexadecimal after 0x. A number out of range is a mistake.
    std::uint32_t Unsigned(const wchar_t* what);
    std::uint64_t Unsigned64(const wchar_t* what);
    /// -2147483648 to 4294967295, kept as 32 bits.
    std::uint32_t Bits32(const wchar_t* what);

    void Fail(std::wstring message);
    /// Fails if anything is left on the line.
    void ExpectEnd();
    [[nodiscard]] const std::optional<std::wstring>& Mistake() const { return mistake_; }

    /// One action within another, for as long as it lives. Too many of them are a mistake: each is
    /// a call within a call of the parser, and later of the player.
    class Nesting {
      public:
        explicit Nesting(ScriptWords& words);
        ~Nesting() { --words_.depth_; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

      private:
        ScriptWords& words_;
    };

  private:
    void SkipBlanks();
    std::wstring QuotedText();
    std::wstring Unescaped(std::wstring_view text);
    std::wstring RepeatedCharacter(std::wstring_view text);

    std::wstring_view rest_;
    int depth_ = 0;
    std::optional<std::wstring> mistake_;
};

/// Reads digits only: no sign, no blank. Null if the text is no such number or exceeds 64 bits.
[[nodiscard]] std::optional<std::uint64_t> ParseNumber(std::wstring_view text);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_SCRIPT_WORDS_H
