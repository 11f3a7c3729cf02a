/// Wide printf formats that are checked against their arguments at compile time.
///
/// `%s`, `%ws` and `%ls` all take a wide string. A `std::wstring`, a narrow string or a number of
/// another width doesn't compile.
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

/// Whether a conversion `type` with the length modifier `length` takes an argument of type `T`. The
/// length is 'h', 'l', 'w' or 0; `int` and `long` both have 32 bits on Windows.
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
            // For a pointer IsNumber is false, so its size doesn't matter.
            // NOLINTNEXTLINE(bugprone-sizeof-expression)
            return IsNumber<T> && length != L'w' && sizeof(T) == (length == L'h' ? 2U : 4U);
        case L'p':
            return length == 0 && std::is_pointer_v<T>;
        default:
            return false;
    }
}

/// Checks `format` against the argument types. A mismatch is a compilation error.
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

/// A format literal that was checked against `Args`, and its source line.
template <class... Args>
class WideFormat {
  public:
    // __builtin_LINE exists in GCC, Clang and Visual C++: std::source_location is built on it.
    template <std::size_t Size>
    // A literal must convert implicitly at the call site.
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

/// The parameter type for a format whose arguments are `Args`.
template <class... Args>
using FormatFor = WideFormat<std::type_identity_t<Args>...>;

/// Prints into `buffer` of `size` characters, truncating if necessary; always zero-terminated.
/// Returns the length, or a negative number if the text was truncated.
int PrintCut(wchar_t* buffer, std::size_t size, const wchar_t* format, std::va_list args);

/// As `PrintCut`, but a text that doesn't fit terminates the process (`FailFastInvalidParameter`).
int PrintStrict(wchar_t* buffer, std::size_t size, const wchar_t* format, ...);

/// Prints a text of any length.
[[nodiscard]] std::wstring PrintToString(const wchar_t* format, std::va_list args);

/// Converts a text to a format that takes no arguments. `%%` stays; a conversion that would take an
/// argument is printed literally; a percent sign that begins no conversion is dropped, as the
/// run-time library does.
[[nodiscard]] std::wstring WithoutConversions(const wchar_t* text);

/// `number` in decimal.
[[nodiscard]] std::wstring DecimalText(std::uint32_t number);

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_WIDE_FORMAT_H
