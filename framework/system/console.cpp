#include "framework/system/console.h"

#include <cstdarg>
#include <string>

#include "framework/system/platform.h"

namespace framework {
namespace {

std::wstring WithCarriageReturns(std::wstring_view text) {
    std::wstring result;
    result.reserve(text.size() + 1);
    for (const wchar_t character : text) {
        if (character == L'\n') {
            result += L'\r';
        }
        result += character;
    }
    return result;
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
    if (text.empty()) {
        return {};
    }
    const int length = static_cast<int>(text.size());
    const int size =
        ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

// Not the run-time library's wprintf: in the C locale it drops the rest of a line, line feed
// included, at the first character that the code page lacks.
void WriteToConsole(std::wstring_view text) {
    // Some readers of a pipe take a write of 0 bytes for the end of the data.
    if (text.empty()) {
        return;
    }
    // The last error is preserved for callers that print a failure and then return its code.
    const DWORD lastError = ::GetLastError();
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    const std::wstring lines = WithCarriageReturns(text);
    DWORD written = 0;
    DWORD mode = 0;
    if (::GetConsoleMode(output, &mode) != FALSE) {
        ::WriteConsoleW(output, lines.data(), static_cast<DWORD>(lines.size()), &written, nullptr);
    } else {
        const std::string bytes = ToUtf8(lines);
        ::WriteFile(output, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    }
    ::SetLastError(lastError);
}

void ConsolePrintUnchecked(const wchar_t* format, ...) {
    // As in WriteToConsole; formatting comes before it.
    const DWORD lastError = ::GetLastError();
    std::va_list args;
    va_start(args, format);
    const std::wstring text = PrintToString(format, args);
    va_end(args);
    ::SetLastError(lastError);
    WriteToConsole(text);
}

}  // namespace framework
