/// Wide printf formats whose arguments are checked by the compiler, and the ways to print them.
///
/// In every format `%s` takes a wide string, as do `%ws` and `%ls`. What a wide format can't print
/// (a `std::wstring`, a narrow string, a number of another width) doesn't compile.
#ifndef FRAMEWORK_SYSTEM_WIDE_FORMAT_H
#define FRAMEWORK_SYSTEM_WIDE_FORMAT_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

namespace framework {

namespace format_check {

template <class T>
constexpr bool IsWideText = std::is_same_v<T, const wchar_t*> || std::is_same_v<T, wchar_t*>;

template <class T>
constexpr bool IsNumber = std::is_integral_v<T> && !std::is_same_v<T, bool>;

/// Whether an argument of type `T` is what the conversion `type` with the length `length` reads.
/// The length is 'h', 'l', 'w' or 0; `int` and `long` are both of 32 bits on this platform.
template <class T>
constexpr bool Matches(wchar_t length, wchar_t type) {
    switch (type) {
        case L's':
            return length != L'h' && IsWideText<T>;
        case L'd':
        case L'i':
        case L'u':
        case L'x':
        case L'X':
            // T may be a pointer here, and is then refused before its size is looked at.
            // NOLINTNEXTLINE(bugprone-sizeof-expression)
            return IsNumber<T> && length != L'w' && sizeof(T) == (length == L'h' ? 2U : 4U);
        case L'p':
            return length == 0 && std::is_pointer_v<T>;
        default:
            return false;
    }
}

/// Checks `format` against the argument types; anything that doesn't fit stops the compilation
/// here.
template <class... Args>
consteval void Check(const wchar_t* format) {
    using Matcher = bool (*)(wchar_t, wchar_t);
    constexpr Matcher Matchers[] = {Matches<Args>..., nullptr};
    std::size_t used = 0;
    for (; *format != 0; ++format) {
        if (*format != L'%') {
            continue;
        }
        if (*++format == L'%') {
            continue;
        }
        while (*format >= L'0' && *format <= L'9') {
            ++format;
        }
        const bool hasLength = *format == L'h' || *format == L'l' || *format == L'w';
        const wchar_t length = hasLength ? *format++ : L'\0';
        if (used == sizeof...(Args)) {
            throw "the format has more conversions than there are arguments";
        }
        if (!Matchers[used++](length, *format)) {
            throw "a conversion doesn't fit its argument";
        }
    }
    if (used != sizeof...(Args)) {
        throw "there are more arguments than the format has conversions";
    }
}

}  // namespace format_check

/// A format and the source line that it stands on. Made from a literal, it has been checked against
/// `Args`.
template <class... Args>
class WideFormat {
  public:
    // __builtin_LINE is what std::source_location is made of; GCC, Clang and Visual C++ have it.
    template <std::size_t Size>
    consteval WideFormat(const wchar_t (&literal)[Size],  // NOLINT(google-explicit-constructor)
                         std::uint32_t line = __builtin_LINE())
        : text_(literal), line_(line) {
        format_check::Check<Args...>(literal);
    }

    [[nodiscard]] constexpr const wchar_t* Text() const noexcept { return text_; }
    [[nodiscard]] constexpr std::uint32_t Line() const noexcept { return line_; }

  private:
    const wchar_t* text_;
    std::uint32_t line_;
};

/// The parameter type of a function that takes a format for its further arguments `Args`.
template <class... Args>
using FormatFor = WideFormat<std::type_identity_t<Args>...>;

/// Prints into `buffer` of `size` characters, cut where it doesn't fit, always ended by a zero.
/// Returns the length of the text, or a negative number if it was cut.
int PrintCut(wchar_t* buffer, std::size_t size, const wchar_t* format, std::va_list args);

/// The same, but a text that doesn't fit ends the process; see `FailFastInvalidParameter`.
int PrintStrict(wchar_t* buffer, std::size_t size, const wchar_t* format, ...);

/// The text of any length.
[[nodiscard]] std::wstring PrintToString(const wchar_t* format, std::va_list args);

/// Turns a text into a format that reads no argument: `%%` stays, a conversion that would read an
/// argument will be printed as it stands, and a percent sign that begins no conversion will be left
/// out, as the run-time library does.
[[nodiscard]] std::wstring WithoutConversions(const wchar_t* text);

/// Decimal form of `number`.
[[nodiscard]] std::wstring DecimalText(std::uint32_t number);

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_WIDE_FORMAT_H
