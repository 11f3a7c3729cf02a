#include "tools/quillon-log/log_name.h"

#include <cstddef>

namespace quillon_log {
namespace {

/// Takes `suffix` off the end of `text`, if it is there.
bool TakeSuffix(std::wstring_view& text, std::wstring_view suffix) {
    if (!text.ends_with(suffix)) {
        return false;
    }
    text.remove_suffix(suffix.size());
    return true;
}

std::optional<std::uint32_t> ParseNumber(std::wstring_view text) {
    constexpr std::uint64_t Limit = 0xFFFFFFFF;
    std::uint64_t number = 0;
    // A log's number has no leading zeros.
    if (text.empty() || (text.size() > 1 && text.front() == L'0')) {
        return std::nullopt;
    }
    for (const wchar_t digit : text) {
        if (digit < L'0' || digit > L'9') {
            return std::nullopt;
        }
        number = number * 10 + static_cast<std::uint64_t>(digit - L'0');
        if (number > Limit) {
            return std::nullopt;
        }
    }
    return static_cast<std::uint32_t>(number);
}

}  // namespace

std::optional<LogName> ParseLogName(std::wstring_view fileName) {
    constexpr std::size_t StampLength = 19;
    LogName name;
    name.compressed = TakeSuffix(fileName, L".gz");
    if (!TakeSuffix(fileName, L".log")) {
        return std::nullopt;
    }
    const std::size_t dot = fileName.rfind(L'.');
    if (dot == std::wstring_view::npos || dot < StampLength + 1) {
        return std::nullopt;
    }
    const std::optional<std::uint32_t> number = ParseNumber(fileName.substr(dot + 1));
    const std::optional<TimePoint> start =
        ParseStamp(fileName.substr(dot - StampLength, StampLength));
    if (!number || !start || fileName[dot - StampLength - 1] != L'-') {
        return std::nullopt;
    }
    name.number = *number;
    name.start = *start;
    name.prefix = fileName.substr(0, dot - StampLength - 1);
    return name;
}

std::wstring PlainName(std::wstring_view prefix, TimePoint start, std::uint32_t number) {
    std::wstring name(prefix);
    name += L'-';
    AppendStamp(name, start);
    return name + L'.' + std::to_wstring(number) + L".log";
}

}  // namespace quillon_log
