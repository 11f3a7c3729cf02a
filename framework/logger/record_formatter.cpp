#include "framework/logger/record_formatter.h"

#include <cstddef>
#include <cwchar>
#include <memory>
#include <string_view>

#include "framework/system/fail_fast.h"
#include "framework/system/platform.h"
#include "framework/system/wide_format.h"

namespace framework {
namespace {

constexpr std::size_t LastMessageSize = 16384;

/// The head of a record as a printf format: numbers with a minimum width, then strings. Kept as
/// one literal so that `strings` on the executable shows the record format.
constexpr std::wstring_view HeadFormat = L"[%04hu%02hu%02hu-%02hu%02hu%02hu-%03hu][%ws][%ws] ";

/// Prints heads in a fraction of the run-time library's time; every record has one. A head that
/// doesn't fit terminates the process, as with the library's strict function.
class HeadPrinter {
  public:
    explicit HeadPrinter(wchar_t* buffer) noexcept : Buffer(buffer) {}

    /// Returns the length.
    std::size_t Print(const SYSTEMTIME& now, const RecordInfo& info) {
        const WORD numbers[] = {now.wYear,   now.wMonth,  now.wDay,         now.wHour,
                                now.wMinute, now.wSecond, now.wMilliseconds};
        const wchar_t* texts[] = {info.Tag, info.Component};
        const WORD* number = numbers;
        const wchar_t** text = texts;
        // The analyser can't count the conversions of the format.
        // NOLINTBEGIN(clang-analyzer-core.CallAndMessage)
        for (std::size_t index = 0; index < HeadFormat.size(); ++index) {
            if (HeadFormat[index] != L'%') {
                Append(HeadFormat[index]);
            } else if (HeadFormat[index + 1] == L'0') {
                AppendNumber(*number++, HeadFormat[index + 2] - L'0');
                index += std::wstring_view(L"04hu").size();
            } else {
                AppendText(*text++);
                index += std::wstring_view(L"ws").size();
            }
        }
        // NOLINTEND(clang-analyzer-core.CallAndMessage)
        Buffer[Length] = 0;
        return Length;
    }

  private:
    void Append(wchar_t character) {
        if (Length + 1 == HeadSize) {
            FailFastInvalidParameter();
        }
        Buffer[Length++] = character;
    }

    void AppendNumber(unsigned number, int leastWidth) {
        wchar_t digits[8];
        int count = 0;
        do {
            digits[count++] = static_cast<wchar_t>(L'0' + number % 10);
            number /= 10;
        } while (number != 0 || count < leastWidth);
        while (count != 0) {
            Append(digits[--count]);
        }
    }

    void AppendText(const wchar_t* text) {
        while (*text != 0) {
            Append(*text++);
        }
    }

    wchar_t* Buffer;
    std::size_t Length = 0;
};

/// Prints with a copy of `args`, which can then be used again.
int PrintAgain(wchar_t* buffer, std::size_t size, const wchar_t* format, std::va_list args) {
    std::va_list copy;
    va_copy(copy, args);
    const int length = PrintCut(buffer, size, format, copy);
    va_end(copy);
    return length;
}

/// Appends a message that didn't fit the first size. Doubles the buffer until the message fits or
/// the last size is reached, which truncates it.
void AppendLongMessage(std::wstring& out, const wchar_t* format, std::va_list args) {
    for (std::size_t size = FirstMessageSize * 2; size <= LastMessageSize; size *= 2) {
        const auto message = std::make_unique<wchar_t[]>(size);
        if (PrintAgain(message.get(), size, format, args) >= 0 || size == LastMessageSize) {
            out += message.get();
            return;
        }
    }
}

/// Adds a line feed unless the text ends in one. Returns the length.
std::size_t EndWithNewline(wchar_t* text) {
    std::size_t length = std::wcslen(text);
    if (length == 0 || text[length - 1] != L'\n') {
        text[length++] = L'\n';
        text[length] = 0;
    }
    return length;
}

}  // namespace

void RecordFormatter::Format(std::wstring& out, const RecordInfo& info, const wchar_t* format,
                             std::va_list args) const {
    RecordText text;
    Format(text, info, format, args);
    out = text.View();
}

void RecordFormatter::Format(RecordText& out, const RecordInfo& info, const wchar_t* format,
                             std::va_list args) const {
    SYSTEMTIME now = {};
    ::GetSystemTime(&now);
    std::size_t length = HeadPrinter(out.Usual).Print(now, info);
    if (RecordSourceLocation) {
        out.Longer.assign(out.Usual, length);
        PrintStrict(out.Usual, HeadSize, L"[%ws(line %u): %ws] ", info.File, info.Line,
                    info.Function);
        out.Longer += out.Usual;
        length = 0;
    }
    wchar_t* const message = out.Usual + length;
    if (PrintAgain(message, FirstMessageSize, format, args) < 0) {
        out.Longer.append(out.Usual, length);
        AppendLongMessage(out.Longer, format, args);
        EnsureNewline(out.Longer);
        return;
    }
    // Up to the first zero, which a message may contain.
    length += EndWithNewline(message);
    if (out.Longer.empty()) {
        out.UsualLength = length;
    } else {
        out.Longer.append(out.Usual, length);
    }
}

void FormatText(std::wstring& out, const wchar_t* format, std::va_list args) {
    wchar_t buffer[FirstMessageSize];
    if (PrintAgain(buffer, FirstMessageSize, format, args) >= 0) {
        out += buffer;
    } else {
        AppendLongMessage(out, format, args);
    }
    EnsureNewline(out);
}

bool FormatUsualText(wchar_t (&buffer)[FirstMessageSize + 1], const wchar_t* format,
                     std::va_list args) {
    if (PrintAgain(buffer, FirstMessageSize, format, args) < 0) {
        return false;
    }
    EndWithNewline(buffer);
    return true;
}

void EnsureNewline(std::wstring& text) {
    if (text.empty() || text.back() != L'\n') {
        text += L'\n';
    }
}

}  // namespace framework
