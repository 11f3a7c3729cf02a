#ifndef DEV_CONTROLLER_SCRIPT_WORDS_H
#define DEV_CONTROLLER_SCRIPT_WORDS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dev_controller {

/// Reads the words of one script line from left to right. Keeps the first error; later reads return
/// an empty value, so a caller can check for an error once, at the end.
class ScriptWords {
  public:
    explicit ScriptWords(std::wstring_view line) : rest_(line) {}

    /// True if only blanks are left, and after an error.
    [[nodiscard]] bool AtEnd();
    /// The next word, not consumed; empty at the end.
    [[nodiscard]] std::wstring_view Peek();

    /// The next blank-delimited word. `what` is used in the "... is missing" message.
    std::wstring_view Word(const wchar_t* what);
    /// The rest of the line without leading and trailing blanks.
    std::wstring Rest(const wchar_t* what);
    /// A word, or a quoted text that may contain blanks; escapes are replaced.
    std::wstring Text(const wchar_t* what);
    /// As `Text`; null for the bare word `null`.
    std::optional<std::wstring> NullableText(const wchar_t* what);
    /// The rest of the line with escapes replaced; a quoted text keeps its outer blanks. Null for
    /// the bare word `null`; `repeat:CHAR:COUNT` repeats a character.
    std::optional<std::wstring> RestAsText(const wchar_t* what);

    /// Decimal, or hexadecimal after 0x. A number out of range is an error.
    std::uint32_t Unsigned(const wchar_t* what);
    std::uint64_t Unsigned64(const wchar_t* what);
    /// -2147483648 to 4294967295, kept as 32 bits.
    std::uint32_t Bits32(const wchar_t* what);

    void Fail(std::wstring message);
    /// Fails if anything is left on the line.
    void ExpectEnd();
    [[nodiscard]] const std::optional<std::wstring>& Mistake() const { return mistake_; }

    /// Counts one level of nested actions for its lifetime. Too many levels are an error, because
    /// each is a recursive call of the parser, and later of the player.
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

/// Parses digits only: no sign, no blank. Nothing on an error or if the number exceeds 64 bits.
[[nodiscard]] std::optional<std::uint64_t> ParseNumber(std::wstring_view text);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_SCRIPT_WORDS_H
