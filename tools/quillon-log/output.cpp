#include "tools/quillon-log/output.h"

#include <cwchar>
#include <string_view>

#include "framework/system/platform.h"

namespace quillon_log {
namespace {

constexpr std::size_t FlushSize = 64 * 1024;

constexpr const wchar_t* ColorReset = L"\x1b[0m";
constexpr const wchar_t* ColorDim = L"\x1b[2m";

const wchar_t* ColorOf(const std::wstring& level) {
    if (level == L"E") {
        return L"\x1b[31m";
    }
    if (level == L"W") {
        return L"\x1b[33m";
    }
    return level == L"V" ? ColorDim : L"";
}

std::wstring Digits(TimePoint value, std::size_t width) {
    const std::wstring digits = std::to_wstring(value);
    return digits.size() < width ? std::wstring(width - digits.size(), L'0') + digits : digits;
}

/// "2026-11-20 18:30:05.123" with the two characters that stand between and at the end.
std::wstring TimeText(TimePoint time, wchar_t between) {
    const std::wstring digits = Digits(time, 17);
    const auto part = [&digits](std::size_t from, std::size_t size) {
        return digits.substr(from, size);
    };
    return part(0, 4) + L'-' + part(4, 2) + L'-' + part(6, 2) + between + part(8, 2) + L':' +
           part(10, 2) + L':' + part(12, 2) + L'.' + part(14, 3);
}

std::string ToUtf8(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    const int size =
        ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

bool WriteTo(HANDLE output, const std::wstring& text) {
    DWORD written = 0;
    DWORD mode = 0;
    if (::GetConsoleMode(output, &mode) != FALSE) {
        return ::WriteConsoleW(output, text.data(), static_cast<DWORD>(text.size()), &written,
                               nullptr) != FALSE;
    }
    const std::string bytes = ToUtf8(text);
    return ::WriteFile(output, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) !=
           FALSE;
}

void AppendJsonText(std::wstring& json, std::wstring_view text) {
    json += L'"';
    for (const wchar_t character : text) {
        switch (character) {
            case L'"':
                json += L"\\\"";
                break;
            case L'\\':
                json += L"\\\\";
                break;
            case L'\n':
                json += L"\\n";
                break;
            case L'\r':
                json += L"\\r";
                break;
            case L'\t':
                json += L"\\t";
                break;
            default:
                if (character < L' ' || (character >= 0xD800 && character <= 0xDFFF)) {
                    // Surrogates too: a lone one has no form in UTF-8, and a pair may be cut.
                    wchar_t escaped[8] = {};
                    ::_snwprintf(escaped, 7, L"\\u%04x", static_cast<unsigned>(character));
                    json += escaped;
                } else {
                    json += character;
                }
        }
    }
    json += L'"';
}

}  // namespace

std::wstring ToText(const Record& record, bool color) {
    std::wstring text;
    if (record.time != 0) {
        if (color) {
            text += ColorDim;
        }
        text += TimeText(record.time, L' ');
        if (color) {
            text += ColorReset;
        }
        text += L' ';
        if (color) {
            text += ColorOf(record.level);
        }
        text += record.level + L' ' + record.component + L": ";
    }
    text += record.message;
    if (color) {
        text += ColorReset;
    }
    if (record.cut) {
        text += L" [cut]";
    }
    text += L'\n';
    return text;
}

std::wstring ToJson(const Record& record) {
    std::wstring json = L"{";
    if (record.time != 0) {
        json += L"\"time\":\"" + TimeText(record.time, L'T') + L"Z\",\"level\":";
        AppendJsonText(json, record.level);
        json += L",\"component\":";
        AppendJsonText(json, record.component);
        json += L',';
    }
    json += L"\"message\":";
    AppendJsonText(json, record.message);
    if (record.cut) {
        json += L",\"cut\":true";
    }
    json += L"}\n";
    return json;
}

void Output::Write(const std::wstring& text) {
    pending_ += text;
    if (pending_.size() >= FlushSize) {
        Flush();
    }
}

void Output::Flush() {
    if (!pending_.empty() && open_) {
        open_ = WriteTo(::GetStdHandle(STD_OUTPUT_HANDLE), pending_);
    }
    pending_.clear();
}

bool Output::IsTerminal() {
    constexpr DWORD VirtualTerminal = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return ::GetConsoleMode(output, &mode) != FALSE &&
           ::SetConsoleMode(output, mode | VirtualTerminal) != FALSE;
}

void WriteError(const std::wstring& text) {
    static_cast<void>(WriteTo(::GetStdHandle(STD_ERROR_HANDLE), L"quillon-log: " + text + L"\n"));
}

}  // namespace quillon_log
