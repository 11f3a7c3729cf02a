#include "framework/logger/record_formatter.h"

#include <cstddef>
#include <memory>

#include "framework/system/platform.h"
#include "framework/system/wide_format.h"

namespace framework {
namespace {

constexpr std::size_t FirstMessageSize = 1024;
constexpr std::size_t LastMessageSize = 16384;

/// Appends the message. The usual one fits a buffer on the stack; longer ones are tried with twice
/// the size up to the last, whose cut text then stands.
void AppendMessage(std::wstring& out, const wchar_t* format, std::va_list args) {
    const auto print = [&](wchar_t* buffer, std::size_t size) {
        std::va_list copy;
        va_copy(copy, args);
        const int length = PrintCut(buffer, size, format, copy);
        va_end(copy);
        return length;
    };
    wchar_t shortMessage[FirstMessageSize];
    shortMessage[0] = 0;
    if (print(shortMessage, FirstMessageSize) >= 0) {
        out += shortMessage;
        return;
    }
    for (std::size_t size = FirstMessageSize * 2; size <= LastMessageSize; size *= 2) {
        const auto message = std::make_unique<wchar_t[]>(size);
        if (print(message.get(), size) >= 0 || size == LastMessageSize) {
            out += message.get();
            return;
        }
    }
}

}  // namespace

void RecordFormatter::Format(std::wstring& out, const RecordInfo& info, const wchar_t* format,
                             std::va_list args) const {
    wchar_t buffer[FirstMessageSize];
    SYSTEMTIME now = {};
    ::GetSystemTime(&now);
    PrintStrict(buffer, FirstMessageSize, L"[%04hu%02hu%02hu-%02hu%02hu%02hu-%03hu][%ws][%ws] ",
                now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond,
                now.wMilliseconds, info.tag, info.component);
    out = buffer;
    if (RecordSourceLocation) {
        PrintStrict(buffer, FirstMessageSize, L"[%ws(line %u): %ws] ", info.file, info.line,
                    info.function);
        out += buffer;
    }
    AppendMessage(out, format, args);
    EnsureNewline(out);
}

void FormatText(std::wstring& out, const wchar_t* format, std::va_list args) {
    AppendMessage(out, format, args);
    EnsureNewline(out);
}

void EnsureNewline(std::wstring& text) {
    if (text.empty() || text.back() != L'\n') {
        text += L'\n';
    }
}

}  // namespace framework
