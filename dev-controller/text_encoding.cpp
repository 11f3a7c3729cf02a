#include "dev-controller/text_encoding.h"

#include <cstdint>

#include "dev-controller/platform.h"

namespace dev_controller {
namespace {

constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

bool IsHighSurrogate(wchar_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(wchar_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendEscape(std::string& result, wchar_t unit) {
    constexpr char Digits[] = "0123456789ABCDEF";
    result += "\\x";
    for (int shift = 12; shift >= 0; shift -= 4) {
        result += Digits[(static_cast<unsigned>(unit) >> shift) & 0xF];
    }
}

void AppendByte(std::string& result, std::uint32_t value) {
    result += static_cast<char>(value);
}

void AppendUtf8(std::string& result, std::uint32_t code) {
    if (code < 0x80) {
        AppendByte(result, code);
    } else if (code < 0x800) {
        AppendByte(result, 0xC0 | (code >> 6));
        AppendByte(result, 0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        AppendByte(result, 0xE0 | (code >> 12));
        AppendByte(result, 0x80 | ((code >> 6) & 0x3F));
        AppendByte(result, 0x80 | (code & 0x3F));
    } else {
        AppendByte(result, 0xF0 | (code >> 18));
        AppendByte(result, 0x80 | ((code >> 12) & 0x3F));
        AppendByte(result, 0x80 | ((code >> 6) & 0x3F));
        AppendByte(result, 0x80 | (code & 0x3F));
    }
}

void AppendUnit(std::string& result, wchar_t unit) {
    if (unit == L'"' || unit == L'\\') {
        result += '\\';
        result += static_cast<char>(unit);
    } else if (unit == L'\n') {
        result += "\\n";
    } else if (unit == L'\r') {
        result += "\\r";
    } else if (unit < 0x20 || unit == 0x7F || IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
        AppendEscape(result, unit);
    } else {
        AppendUtf8(result, unit);
    }
}

}  // namespace

std::string QuotedUtf8(std::wstring_view text) {
    std::string result = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            const std::uint32_t high = text[i] - 0xD800U;
            const std::uint32_t low = text[i + 1] - 0xDC00U;
            AppendUtf8(result, 0x10000 + (high << 10) + low);
            ++i;
        } else {
            AppendUnit(result, text[i]);
        }
    }
    return result + '"';
}

std::optional<std::wstring> WideFromUtf8(std::string_view bytes) {
    if (bytes.starts_with(ByteOrderMark)) {
        bytes.remove_prefix(ByteOrderMark.size());
    }
    if (bytes.empty()) {
        return std::wstring();
    }
    const auto size = static_cast<int>(bytes.size());
    const int length =
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, nullptr, 0);
    if (length <= 0) {
        return std::nullopt;
    }
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, text.data(), length);
    return text;
}

}  // namespace dev_controller
