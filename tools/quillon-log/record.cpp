#include "tools/quillon-log/record.h"

#include <emmintrin.h>

#include <bit>
#include <cstring>
#include <utility>

namespace quillon_log {
namespace {

constexpr wchar_t ByteOrderMark = 0xFEFF;
constexpr std::size_t StampLength = 19;
constexpr std::size_t BracketedStamp = StampLength + 2;

/// The time at the beginning of `text`: "[20261120-183005-123]".
std::optional<TimePoint> LeadingTime(std::wstring_view text) {
    if (text.size() < BracketedStamp || text.front() != L'[' || text[StampLength + 1] != L']') {
        return std::nullopt;
    }
    return ParseStamp(text.substr(1, StampLength));
}

/// Takes "[text]" with what follows it off the beginning.
std::optional<std::wstring_view> TakeBracket(std::wstring_view& text, std::wstring_view end) {
    if (text.empty() || text.front() != L'[') {
        return std::nullopt;
    }
    const std::size_t close = text.find(end);
    if (close == std::wstring_view::npos) {
        return std::nullopt;
    }
    const std::wstring_view inner = text.substr(1, close - 1);
    text.remove_prefix(close + end.size());
    return inner;
}

/// Logs that were put one after the other into one file have marks at their begins.
std::wstring_view WithoutMark(std::wstring_view text) {
    return text.starts_with(ByteOrderMark) ? text.substr(1) : text;
}

Record Parse(std::wstring_view text, const std::optional<TimePoint>& time) {
    Record record;
    text = WithoutMark(text);
    record.cut = text.empty() || text.back() != L'\n';
    if (!record.cut) {
        text.remove_suffix(1);
    }
    record.message = text;
    if (!time) {
        return record;
    }
    std::wstring_view rest = text.substr(BracketedStamp);
    const std::optional<std::wstring_view> level = TakeBracket(rest, L"]");
    const std::optional<std::wstring_view> component =
        level ? TakeBracket(rest, L"] ") : std::nullopt;
    if (component) {
        record.time = time;
        record.level = *level;
        record.component = *component;
        record.message = rest;
    }
    return record;
}

/// The index of the first line feed from `from` on, or the text's size. Eight characters at a time:
/// every character of every log goes through here.
std::size_t FindLineFeed(std::wstring_view text, std::size_t from) {
    constexpr std::size_t Step = 8;
    const __m128i lineFeeds = _mm_set1_epi16(L'\n');
    for (; from + Step <= text.size(); from += Step) {
        const __m128i piece = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + from));
        const auto hits =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(piece, lineFeeds)));
        if (hits != 0) {
            return from + static_cast<std::size_t>(std::countr_zero(hits)) / 2;
        }
    }
    while (from < text.size() && text[from] != L'\n') {
        ++from;
    }
    return from;
}

}  // namespace

Record ParseRecord(std::wstring_view text) {
    return Parse(text, LeadingTime(WithoutMark(text)));
}

void RecordScanner::Begin(std::uint64_t offset) {
    begin_ = 0;
    searched_ = 0;
    end_ = 0;
    offset_ = offset;
    isTimed_ = false;
    isPiece_ = false;
}

char* RecordScanner::Room(std::size_t size) {
    const std::size_t used = end_ - begin_ * sizeof(wchar_t);
    const std::size_t needed = (used + size + 1) / sizeof(wchar_t);
    if (end_ + size > buffer_.size() * sizeof(wchar_t)) {
        if (needed > buffer_.size()) {
            std::vector<wchar_t> larger(needed);
            std::memcpy(larger.data(), buffer_.data() + begin_, used);
            buffer_.swap(larger);
        } else {
            std::memmove(buffer_.data(), buffer_.data() + begin_, used);
        }
        searched_ -= begin_;
        begin_ = 0;
        end_ = used;
    }
    return reinterpret_cast<char*>(buffer_.data()) + end_;
}

void RecordScanner::Shrink() {
    const std::size_t used = end_ - begin_ * sizeof(wchar_t);
    std::vector<wchar_t> smaller((used + 1) / sizeof(wchar_t));
    std::memcpy(smaller.data(), buffer_.data() + begin_, used);
    buffer_.swap(smaller);
    searched_ -= begin_;
    begin_ = 0;
    end_ = used;
}

std::wstring_view RecordScanner::Rest() const {
    return {buffer_.data() + begin_, end_ / sizeof(wchar_t) - begin_};
}

bool RecordScanner::EndsInLineFeed() const {
    const std::wstring_view rest = Rest();
    return end_ % 2 == 0 && !rest.empty() && rest.back() == L'\n';
}

bool RecordScanner::Next(Record& record) {
    return Split(record, false);
}

/// Takes a record that another one follows. With `isEnd` the text is all that the log has.
bool RecordScanner::Split(Record& record, bool isEnd) {
    const std::wstring_view text = Rest();
    std::size_t from = searched_ - begin_;
    while (true) {
        const std::size_t feed = FindLineFeed(text, from);
        if (feed == text.size() ? feed > MostCharacters : feed >= MostCharacters) {
            Give(MostCharacters, record);
            record.cut = false;
            isPiece_ = true;
            return true;
        }
        if (feed == text.size() || (!isEnd && feed + 2 + BracketedStamp > text.size())) {
            // Whether a line feed here ends the record shows when there is more.
            searched_ = begin_ + feed;
            return false;
        }
        if (const std::optional<TimePoint> next = LeadingTime(WithoutMark(text.substr(feed + 1)))) {
            Give(feed + 1, record);
            time_ = next;
            isTimed_ = true;
            return true;
        }
        from = feed + 1;
    }
}

bool RecordScanner::Last(Record& record) {
    if (Split(record, true)) {
        return true;
    }
    const std::wstring_view text = Rest();
    if (WithoutMark(text).empty()) {
        return false;
    }
    Give(text.size(), record);
    // Half a character at the end can't be shown, but it says that something is missing.
    record.cut = record.cut || end_ % 2 != 0;
    offset_ += end_ % 2;
    end_ = begin_ * sizeof(wchar_t);
    return true;
}

void RecordScanner::Give(std::size_t size, Record& record) {
    const std::wstring_view text = Rest().substr(0, size);
    const bool isPiece = std::exchange(isPiece_, false);
    const bool isTimed = std::exchange(isTimed_, false);
    record = Parse(text, isPiece ? std::nullopt : isTimed ? time_ : LeadingTime(WithoutMark(text)));
    begin_ += size;
    searched_ = begin_;
    offset_ += size * sizeof(wchar_t);
}

}  // namespace quillon_log
