#include "tools/service-watch/log_text.h"

namespace service_watch {

namespace {

constexpr wchar_t ByteOrderMark = 0xFEFF;

wchar_t CharacterOf(char low, char high) noexcept {
    return static_cast<wchar_t>(static_cast<unsigned char>(low) | static_cast<unsigned char>(high)
                                                                      << 8);
}

}  // namespace

void LineDecoder::Add(std::string_view bytes, const LineSink& sink) {
    odd_.append(bytes);
    std::size_t used = 0;
    for (; used + 1 < odd_.size(); used += 2) {
        const wchar_t character = CharacterOf(odd_[used], odd_[used + 1]);
        const bool isMark = atStart_ && character == ByteOrderMark;
        atStart_ = false;
        if (character == L'\n') {
            sink(line_);
            line_.clear();
        } else if (!isMark) {
            line_.push_back(character);
        }
    }
    odd_.erase(0, used);
}

void LineDecoder::Finish(const LineSink& sink) {
    if (!line_.empty()) {
        sink(line_);
    }
    odd_.clear();
    line_.clear();
    atStart_ = true;
}

RecordHead FindRecordHead(std::wstring_view line) noexcept {
    // [20201116-163012-345][T][quillon] message
    constexpr std::size_t timeSize = 21;
    RecordHead head;
    if (line.size() < timeSize + 3 || line[0] != L'[' || line[9] != L'-' || line[16] != L'-' ||
        line.substr(timeSize - 1, 2) != L"][") {
        return head;
    }
    const std::size_t tagEnd = line.find(L"][", timeSize + 1);
    const std::size_t end = tagEnd == std::wstring_view::npos ? tagEnd : line.find(L"] ", tagEnd);
    if (end == std::wstring_view::npos) {
        return head;
    }
    head.found = true;
    head.tag = line[timeSize + 1];
    head.size = end + 2;
    return head;
}

}  // namespace service_watch
