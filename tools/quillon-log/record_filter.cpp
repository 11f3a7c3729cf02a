#include "tools/quillon-log/record_filter.h"

#include <algorithm>
#include <array>
#include <utility>

#include "framework/system/platform.h"

namespace quillon_log {
namespace {

bool SameText(std::wstring_view left, std::wstring_view right) {
    return ::CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                  static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

bool Contains(std::wstring_view text, std::wstring_view part) {
    for (std::size_t begin = 0; begin + part.size() <= text.size(); ++begin) {
        if (SameText(text.substr(begin, part.size()), part)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::optional<int> LevelRank(std::wstring_view level) {
    constexpr std::array<std::pair<std::wstring_view, std::wstring_view>, 4> Levels = {
        {{L"E", L"error"}, {L"W", L"warning"}, {L"T", L"trace"}, {L"V", L"verbose"}}};
    for (std::size_t rank = 0; rank < Levels.size(); ++rank) {
        if (SameText(level, Levels[rank].first) || SameText(level, Levels[rank].second)) {
            return static_cast<int>(rank);
        }
    }
    return std::nullopt;
}

bool RecordFilter::Passes(const Record& record) const {
    if (leastLevel) {
        const std::optional<int> rank = LevelRank(record.level);
        if (!rank || *rank > *leastLevel) {
            return false;
        }
    }
    if ((since && record.time < *since) || (until && record.time >= *until)) {
        return false;
    }
    const auto isOfRecord = [&record](const std::wstring& component) {
        return SameText(component, record.component);
    };
    if (!components.empty() && std::none_of(components.begin(), components.end(), isOfRecord)) {
        return false;
    }
    return text.empty() || Contains(record.message, text);
}

}  // namespace quillon_log
