#include "tools/quillon-log/record_filter.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "tools/quillon-log/case_fold.h"

namespace quillon_log {

std::optional<int> LevelRank(std::wstring_view level) {
    constexpr std::array<std::pair<std::wstring_view, std::wstring_view>, 4> Levels = {
        {{L"E", L"error"}, {L"W", L"warning"}, {L"T", L"trace"}, {L"V", L"verbose"}}};
    for (std::size_t rank = 0; rank < Levels.size(); ++rank) {
        // The letter as logs have it is compared first: most records get no further.
        if (level == Levels[rank].first || IsSameText(level, Levels[rank].first) ||
            IsSameText(level, Levels[rank].second)) {
            return static_cast<int>(rank);
        }
    }
    return std::nullopt;
}

bool RecordFilter::IsInTime(const Record& record) const {
    if (!since && !until) {
        return true;
    }
    return record.time && !(since && *record.time < *since) && !(until && *record.time >= *until);
}

bool RecordFilter::Matches(const Record& record) const {
    if (leastLevel) {
        const std::optional<int> rank = LevelRank(record.level);
        if (!rank || *rank > *leastLevel) {
            return false;
        }
    }
    if (!components.empty() &&
        std::none_of(components.begin(), components.end(), [&record](const auto& component) {
            return IsSameText(component, record.component);
        })) {
        return false;
    }
    if (texts.empty() && patterns.empty()) {
        return true;
    }
    const bool isFound =
        std::any_of(texts.begin(), texts.end(),
                    [&record](const auto& text) { return ContainsText(record.message, text); }) ||
        std::any_of(patterns.begin(), patterns.end(),
                    [&record](const auto& pattern) { return pattern.IsIn(record.message); });
    return isFound != isInverted;
}

}  // namespace quillon_log
