#include "tools/quillon-log/record.h"

#include <cstddef>
#include <optional>

namespace quillon_log {
namespace {

constexpr wchar_t ByteOrderMark = 0xFEFF;
constexpr std::size_t StampLength = 19;

/// The time at the beginning of `text`: "[20261120-183005-123]".
std::optional<TimePoint> LeadingTime(std::wstring_view text) {
    if (text.size() < StampLength + 2 || text.front() != L'[' || text[StampLength + 1] != L']') {
        return std::nullopt;
    }
    return ParseStamp(text.substr(1, StampLength));
}

/// Takes "[text]" off the beginning.
std::optional<std::wstring> TakeBracket(std::wstring_view& text, std::wstring_view end) {
    if (text.empty() || text.front() != L'[') {
        return std::nullopt;
    }
    const std::size_t close = text.find(end);
    if (close == std::wstring_view::npos) {
        return std::nullopt;
    }
    std::wstring inner(text.substr(1, close - 1));
    text.remove_prefix(close + end.size());
    return inner;
}

}  // namespace

Record ParseRecord(std::wstring_view text) {
    Record record;
    record.cut = text.empty() || text.back() != L'\n';
    if (!record.cut) {
        text.remove_suffix(1);
    }
    const std::optional<TimePoint> time = LeadingTime(text);
    if (time) {
        std::wstring_view rest = text.substr(StampLength + 2);
        const std::optional<std::wstring> level = TakeBracket(rest, L"]");
        const std::optional<std::wstring> component =
            level ? TakeBracket(rest, L"] ") : std::nullopt;
        if (component) {
            record.time = *time;
            record.level = *level;
            record.component = *component;
            record.message = rest;
            return record;
        }
    }
    record.message = text;
    return record;
}

std::vector<Record> RecordParser::Take(std::string_view bytes) {
    std::string joined;
    if (!oddByte_.empty()) {
        joined = oddByte_;
        joined += bytes;
        oddByte_.clear();
        bytes = joined;
    }
    if (bytes.size() % 2 != 0) {
        oddByte_ = bytes.back();
        bytes.remove_suffix(1);
    }
    for (std::size_t index = 0; index < bytes.size(); index += 2) {
        const auto low = static_cast<unsigned char>(bytes[index]);
        const auto high = static_cast<unsigned char>(bytes[index + 1]);
        const auto character = static_cast<wchar_t>(low | (high << 8));
        if (!atStart_ || character != ByteOrderMark) {
            text_ += character;
        }
        atStart_ = false;
    }
    std::vector<Record> records;
    std::size_t begin = 0;
    for (std::size_t feed = text_.find(L'\n'); feed != std::wstring::npos;
         feed = text_.find(L'\n', feed + 1)) {
        const std::wstring_view next = std::wstring_view(text_).substr(feed + 1);
        if (LeadingTime(next)) {
            records.push_back(
                ParseRecord(std::wstring_view(text_).substr(begin, feed + 1 - begin)));
            begin = feed + 1;
        }
    }
    text_.erase(0, begin);
    return records;
}

std::vector<Record> RecordParser::Finish() {
    if (text_.empty()) {
        return {};
    }
    std::vector<Record> records = {ParseRecord(text_)};
    text_.clear();
    return records;
}

}  // namespace quillon_log
