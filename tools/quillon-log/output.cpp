#include "tools/quillon-log/output.h"

#include <emmintrin.h>

#include <algorithm>
#include <utility>

#include "framework/system/platform.h"
#include "tools/shared/terminal_output.h"

namespace quillon_log {
namespace {

constexpr std::size_t FlushSize = 64 * 1024;

constexpr const wchar_t* ColorReset = L"\x1b[0m";
constexpr const wchar_t* ColorDim = L"\x1b[2m";

const wchar_t* ColorOf(std::wstring_view level) {
    if (level == L"E") {
        return L"\x1b[31m";
    }
    if (level == L"W") {
        return L"\x1b[33m";
    }
    return level == L"V" ? ColorDim : L"";
}

bool IsControl(wchar_t character) {
    return character < L' ' || (character >= 0x7F && character <= 0x9F);
}

/// Marks, embeddings, overrides and isolates of the direction of writing.
bool IsDirection(wchar_t character) {
    return character == 0x061C || character == 0x200E || character == 0x200F ||
           (character >= 0x202A && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

bool IsUnsafe(wchar_t character) {
    return character != L'\t' && character != L'\n' &&
           (IsControl(character) || IsDirection(character));
}

void AppendHex(std::wstring& text, wchar_t character, int digits) {
    constexpr const wchar_t* HexDigits = L"0123456789abcdef";
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) {
        text += HexDigits[(character >> shift) & 0xF];
    }
}

void AppendEscaped(std::wstring& text, std::wstring_view part) {
    while (!part.empty()) {
        const auto unsafe = std::find_if(part.begin(), part.end(), IsUnsafe);
        const auto safe = static_cast<std::size_t>(unsafe - part.begin());
        text.append(part, 0, safe);
        if (safe == part.size()) {
            return;
        }
        const bool isShort = *unsafe <= 0xFF;
        text += isShort ? L"\\x" : L"\\u";
        AppendHex(text, *unsafe, isShort ? 2 : 4);
        part.remove_prefix(safe + 1);
    }
}

bool NeedsJsonEscape(wchar_t character) {
    if (character >= L' ' && character < 0x7F) {
        return character == L'"' || character == L'\\';
    }
    // Surrogates too: a lone one has no form in UTF-8, and a pair may be cut.
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    return IsControl(character) || isSurrogate || IsDirection(character);
}

void AppendOffset(std::wstring& text, std::chrono::minutes offset) {
    const auto digits = [&text](std::chrono::minutes::rep number) {
        text += static_cast<wchar_t>(L'0' + number / 10);
        text += static_cast<wchar_t>(L'0' + number % 10);
    };
    const auto size = std::chrono::abs(offset).count();
    text += offset.count() < 0 ? L'-' : L'+';
    digits(size / 60);
    text += L':';
    digits(size % 60);
}

/// Whether a write failed because nobody reads the pipe any more, as after `| head`.
bool IsClosedPipe(DWORD error) {
    return error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA ||
           error == ERROR_PIPE_NOT_CONNECTED;
}

bool IsConsole(HANDLE handle) {
    DWORD mode = 0;
    return ::GetConsoleMode(handle, &mode) != FALSE;
}

/// Writes the ASCII characters that `text` begins with and returns how many they are. Eight at a
/// time: nearly all of a log is ASCII.
std::size_t PutAscii(char* to, std::wstring_view text) {
    constexpr std::size_t Step = 8;
    const __m128i beyond = _mm_set1_epi16(static_cast<short>(0xFF80));
    std::size_t at = 0;
    for (; at + Step <= text.size(); at += Step) {
        const __m128i piece = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at));
        const __m128i high = _mm_and_si128(piece, beyond);
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) != 0xFFFF) {
            break;
        }
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to + at), _mm_packus_epi16(piece, piece));
    }
    for (; at < text.size() && text[at] < 0x80; ++at) {
        to[at] = static_cast<char>(text[at]);
    }
    return at;
}

/// Writes a character beyond ASCII and returns where the next one goes.
char* PutCharacter(char* to, std::uint32_t code) {
    const auto put = [&to](std::uint32_t byte) { *to++ = static_cast<char>(byte); };
    if (code < 0x800) {
        put(0xC0 | (code >> 6));
    } else {
        if (code < 0x10000) {
            put(0xE0 | (code >> 12));
        } else {
            put(0xF0 | (code >> 18));
            put(0x80 | ((code >> 12) & 0x3F));
        }
        put(0x80 | ((code >> 6) & 0x3F));
    }
    put(0x80 | (code & 0x3F));
    return to;
}

bool IsHighSurrogate(wchar_t character) {
    return character >= 0xD800 && character <= 0xDBFF;
}

bool IsLowSurrogate(wchar_t character) {
    return character >= 0xDC00 && character <= 0xDFFF;
}

}  // namespace

void AppendJsonText(std::wstring& json, std::wstring_view text) {
    json += L'"';
    while (!text.empty()) {
        const auto special = std::find_if(text.begin(), text.end(), NeedsJsonEscape);
        const auto plain = static_cast<std::size_t>(special - text.begin());
        json.append(text, 0, plain);
        if (plain == text.size()) {
            break;
        }
        switch (*special) {
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
                json += L"\\u";
                AppendHex(json, *special, 4);
        }
        text.remove_prefix(plain + 1);
    }
    json += L'"';
}

RecordWriter::RecordWriter(TextStyle style, std::wstring host) : style_(style) {
    AppendJsonText(hostJson_, host);
}

/// Offsets change on the hour or the half of it.
std::chrono::minutes RecordWriter::OffsetAt(TimePoint time) {
    constexpr std::chrono::minutes Step(15);
    if (style_.clock == Clock::Utc) {
        return std::chrono::minutes(0);
    }
    if (time < offsetFrom_ || time >= offsetFrom_ + Step) {
        offset_ = LocalOffset(time);
        offsetFrom_ = time - (time.time_since_epoch() % std::chrono::milliseconds(Step));
    }
    return offset_;
}

void RecordWriter::AppendText(std::wstring& text, const Record& record, std::wstring_view tag) {
    const auto append = [&](std::wstring_view part) {
        style_.escape ? AppendEscaped(text, part) : static_cast<void>(text.append(part));
    };
    if (record.time) {
        text += style_.color ? ColorDim : L"";
        const std::chrono::minutes offset = OffsetAt(*record.time);
        AppendTime(text, *record.time, L' ', offset);
        if (style_.clock == Clock::Local) {
            AppendOffset(text, offset);
        }
        text += style_.color ? ColorReset : L"";
        text += L' ';
    }
    if (!tag.empty()) {
        text += L'[';
        append(tag);
        text += L"] ";
    }
    if (record.time) {
        text += style_.color ? ColorOf(record.level) : L"";
        append(record.level);
        text += L' ';
        append(record.component);
        text += L": ";
    }
    append(record.message);
    text += style_.color ? ColorReset : L"";
    text += record.cut ? L" [cut]\n" : L"\n";
}

void RecordWriter::AppendJson(std::wstring& json, const Record& record, const Origin& origin) {
    json += L'{';
    if (record.time) {
        const std::chrono::minutes offset = OffsetAt(*record.time);
        json += L"\"time\":\"";
        AppendTime(json, *record.time, L'T', offset);
        if (style_.clock == Clock::Local) {
            AppendOffset(json, offset);
        } else {
            json += L'Z';
        }
        json += L"\",\"level\":";
        AppendJsonText(json, record.level);
        json += L",\"component\":";
        AppendJsonText(json, record.component);
        json += L',';
    }
    json += L"\"message\":";
    AppendJsonText(json, record.message);
    json += record.cut ? L",\"cut\":true" : L"";
    json += L",\"pid\":";
    json += origin.pid ? std::to_wstring(*origin.pid) : L"null";
    json += L",\"file\":";
    AppendJsonText(json, origin.file);
    json += L",\"record\":";
    json += std::to_wstring(origin.record);
    json += L",\"host\":";
    json += hostJson_;
    json += L"}\n";
}

std::wstring Escaped(std::wstring_view text) {
    std::wstring escaped;
    AppendEscaped(escaped, text);
    return escaped;
}

void AppendUtf8(std::string& bytes, std::wstring_view text) {
    constexpr std::size_t MostBytes = 3;  // of one 16-bit character
    const std::size_t before = bytes.size();
    bytes.resize(before + text.size() * MostBytes);
    char* to = bytes.data() + before;
    while (true) {
        const std::size_t ascii = PutAscii(to, text);
        to += ascii;
        text.remove_prefix(ascii);
        if (text.empty()) {
            break;
        }
        const wchar_t first = text.front();
        const bool isPair = IsHighSurrogate(first) && text.size() > 1 && IsLowSurrogate(text[1]);
        if (isPair) {
            to = PutCharacter(to, 0x10000U + ((first - 0xD800U) << 10) + (text[1] - 0xDC00U));
        } else {
            to = PutCharacter(to, IsHighSurrogate(first) || IsLowSurrogate(first) ? 0xFFFD : first);
        }
        text.remove_prefix(isPair ? 2 : 1);
    }
    bytes.resize(static_cast<std::size_t>(to - bytes.data()));
}

Output::Output() : isTerminal_(IsConsole(::GetStdHandle(STD_OUTPUT_HANDLE))) {}

void Output::Appended() {
    if (pending_.size() >= FlushSize) {
        Flush();
    }
}

bool Output::Flush() {
    if (isOpen_ && !pending_.empty()) {
        written_ += pending_.size();
        if (isTerminal_) {
            isOpen_ = tools::WriteOutput(pending_);
        } else {
            bytes_.clear();
            AppendUtf8(bytes_, pending_);
            isOpen_ = tools::WriteOutputBytes(bytes_);
        }
        failure_ = isOpen_ || IsClosedPipe(::GetLastError()) ? ERROR_SUCCESS : ::GetLastError();
    }
    pending_.clear();
    return isOpen_;
}

void Output::Sync() {
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    if (::GetFileType(output) == FILE_TYPE_DISK) {
        ::FlushFileBuffers(output);
    }
}

void WriteError(std::wstring_view text) {
    WriteErrorLine(L"quillon-log: " + std::wstring(text));
}

void WriteErrorLine(std::wstring_view text) {
    const HANDLE error = ::GetStdHandle(STD_ERROR_HANDLE);
    std::wstring line = IsConsole(error) ? Escaped(text) : std::wstring(text);
    tools::WriteErrorText(line + L'\n');
}

}  // namespace quillon_log
