#include "tools/shared/json_text.h"

namespace tools {
namespace {

std::wstring HexEscape(wchar_t character) {
    constexpr const wchar_t* HexDigits = L"0123456789abcdef";
    std::wstring escape = L"\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        escape += HexDigits[(character >> shift) & 0xF];
    }
    return escape;
}

std::wstring Escaped(wchar_t character) {
    switch (character) {
        case L'"':
            return L"\\\"";
        case L'\\':
            return L"\\\\";
        case L'\n':
            return L"\\n";
        case L'\r':
            return L"\\r";
        case L'\t':
            return L"\\t";
        default:
            break;
    }
    // Escapes surrogates too: an unpaired one can't be UTF-8, and a pair may be split.
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    return character < L' ' || isSurrogate ? HexEscape(character) : std::wstring(1, character);
}

}  // namespace

std::wstring JsonText(std::wstring_view text) {
    std::wstring json = L"\"";
    for (const wchar_t character : text) {
        json += Escaped(character);
    }
    return json + L'"';
}

}  // namespace tools
