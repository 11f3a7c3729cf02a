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

constexpr std::size_t HeadSize = 1024;
constexpr std::size_t FirstMessageSize = 1024;
constexpr std::size_t LastMessageSize = 16384;

/// The head of a record in the form of a print format: numbers of a least width, then texts. It is
/// kept as a text and read at each record because those who look for the form of a record in the
/// executable find it there, in one piece, as they find every other format.
constexpr std::wstring_view HeadFormat = L"[%04hu%02hu%02hu-%02hu%02hu%02hu-%03hu][%ws][%ws] ";

/// Prints heads by their format, in a fraction of the time that the run-time library takes for it:
/// every record has one. As strict as that library: what doesn't fit ends the process.
class HeadPrinter {
  public:
    explicit HeadPrinter(wchar_t* buffer) noexcept : buffer_(buffer) {}

    /// Returns the length.
    std::size_t Print(const SYSTEMTIME& now, const RecordInfo& info) {
        const WORD numbers[] = {now.wYear,   now.wMonth,  now.wDay,         now.wHour,
                                now.wMinute, now.wSecond, now.wMilliseconds};
        const wchar_t* texts[] = {info.tag, info.component};
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
        buffer_[length_] = 0;
        return length_;
    }

  private:
    void Append(wchar_t character) {
        if (length_ + 1 == HeadSize) {
            FailFastInvalidParameter();
        }
        buffer_[length_++] = character;
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

    wchar_t* buffer_;
    std::size_t length_ = 0;
};

/// Prints with a copy of the arguments, so that they can be printed again.
int PrintAgain(wchar_t* buffer, std::size_t size, const wchar_t* format, std::va_list args) {
    std::va_list copy;
    va_copy(copy, args);
    const int length = PrintCut(buffer, size, format, copy);
    va_end(copy);
    return length;
}

/// Appends a message that didn't fit the first size. Tries twice the size up to the last, whose cut
/// text then stands.
void AppendLongMessage(std::wstring& out, const wchar_t* format, std::va_list args) {
    for (std::size_t size = FirstMessageSize * 2; size <= LastMessageSize; size *= 2) {
        const auto message = std::make_unique<wchar_t[]>(size);
        if (PrintAgain(message.get(), size, format, args) >= 0 || size == LastMessageSize) {
            out += message.get();
            return;
        }
    }
}

}  // namespace

void RecordFormatter::Format(std::wstring& out, const RecordInfo& info, const wchar_t* format,
                             std::va_list args) const {
    // Head and usual message stand in one buffer, so that the record is copied once.
    wchar_t buffer[HeadSize + FirstMessageSize];
    SYSTEMTIME now = {};
    ::GetSystemTime(&now);
    std::size_t length = HeadPrinter(buffer).Print(now, info);
    if (RecordSourceLocation) {
        out.assign(buffer, length);
        PrintStrict(buffer, HeadSize, L"[%ws(line %u): %ws] ", info.file, info.line, info.function);
        out += buffer;
        length = 0;
    } else {
        out.clear();
    }
    const bool fits = PrintAgain(buffer + length, FirstMessageSize, format, args) >= 0;
    if (fits) {
        // Up to the first zero: a message may print one.
        length += std::wcslen(buffer + length);
    }
    out.reserve(out.size() + length + 1);  // with room for the line feed
    out.append(buffer, length);
    if (!fits) {
        AppendLongMessage(out, format, args);
    }
    EnsureNewline(out);
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

void EnsureNewline(std::wstring& text) {
    if (text.empty() || text.back() != L'\n') {
        text += L'\n';
    }
}

}  // namespace framework
