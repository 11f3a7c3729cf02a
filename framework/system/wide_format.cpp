#include "framework/system/wide_format.h"

#include <cstdio>
#include <cwchar>

#include "framework/system/fail_fast.h"

// Uses the functions with Microsoft names: only they take a wide string for %s with every supported
// compiler.

namespace framework {
namespace {

/// The length of the conversion at `text`, which begins with a percent sign. 0 if it isn't a
/// conversion that takes an argument.
std::size_t ConversionLength(const wchar_t* text) {
    std::size_t length = 1;
    const auto skip = [&](const wchar_t* characters) {
        while (text[length] != 0 && std::wcschr(characters, text[length]) != nullptr) {
            ++length;
        }
    };
    skip(L"-+ #0");
    skip(L"*0123456789");
    skip(L".");
    skip(L"*0123456789");
    skip(L"hlLwIjztT3264");
    if (text[length] != 0 && std::wcschr(L"diouxXeEfFgGaAcCsSpnZ", text[length]) != nullptr) {
        return length + 1;
    }
    return 0;
}

}  // namespace

int PrintCut(wchar_t* buffer, std::size_t size, const wchar_t* format, std::va_list args) {
    return ::_vsnwprintf_s(buffer, size, _TRUNCATE, format, args);
}

int PrintStrict(wchar_t* buffer, std::size_t size, const wchar_t* format, ...) {
    std::va_list args;
    va_start(args, format);
    const int length = PrintCut(buffer, size, format, args);
    va_end(args);
    if (length < 0) {
        FailFastInvalidParameter();
    }
    return length;
}

std::wstring PrintToString(const wchar_t* format, std::va_list args) {
    constexpr std::size_t FirstSize = 512;
    std::wstring text(FirstSize, L'\0');
    for (;;) {
        std::va_list copy;
        va_copy(copy, args);
        const int length = PrintCut(text.data(), text.size(), format, copy);
        va_end(copy);
        if (length >= 0) {
            text.resize(static_cast<std::size_t>(length));
            return text;
        }
        text.resize(text.size() * 2);
    }
}

std::wstring WithoutConversions(const wchar_t* text) {
    std::wstring result;
    while (*text != 0) {
        if (*text != L'%') {
            result += *text++;
            continue;
        }
        if (text[1] == L'%') {
            result += L"%%";
            text += 2;
            continue;
        }
        const std::size_t conversion = ConversionLength(text);
        if (conversion != 0) {
            result += L'%';
            result.append(text, conversion);
            text += conversion;
        } else {
            ++text;
        }
    }
    return result;
}

std::wstring DecimalText(std::uint32_t number) {
    return std::to_wstring(number);
}

}  // namespace framework
