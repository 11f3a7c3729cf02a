#include "tools/quillon-log/output.h"

#include "tools/shared/json_text.h"
#include "tools/shared/terminal_output.h"

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
        json += L"\"time\":\"" + TimeText(record.time, L'T') + L"Z\",\"level\":" +
                tools::JsonText(record.level) + L",\"component\":" +
                tools::JsonText(record.component) + L',';
    }
    json += L"\"message\":" + tools::JsonText(record.message);
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
        open_ = tools::WriteOutput(pending_);
    }
    pending_.clear();
}

void WriteError(const std::wstring& text) {
    tools::WriteError(L"quillon-log", text);
}

}  // namespace quillon_log
