#include "tools/quillon-log/problem_report.h"

#include <functional>

#include "tools/quillon-log/output.h"

namespace quillon_log {
namespace {

bool IsKnown(TimePoint time) {
    return time != TimePoint::min() && time != TimePoint::max();
}

std::wstring CountOf(const Problem& gap) {
    const std::wstring record = std::to_wstring(gap.lastRecord);
    if (!gap.missingFiles) {
        return L"all after record " + record + L", with an unknown number of further files";
    }
    return *gap.missingFiles == 0   ? L"all after record " + record
           : *gap.missingFiles == 1 ? L"1 file"
                                    : std::to_wstring(*gap.missingFiles) + L" files";
}

std::wstring GapText(const Problem& gap) {
    std::wstring text = gap.place + L": " + gap.text + L": " + CountOf(gap);
    if (IsKnown(gap.from)) {
        text += L", from ";
        AppendTime(text, gap.from, L' ');
    }
    if (IsKnown(gap.until)) {
        text += L" to ";
        AppendTime(text, gap.until, L' ');
    }
    return text;
}

std::wstring GapJson(const Problem& gap) {
    const auto time = [](TimePoint point) {
        std::wstring text = L"null";
        if (IsKnown(point)) {
            text = L"\"";
            AppendTime(text, point, L'T');
            text += L"Z\"";
        }
        return text;
    };
    std::wstring json = L"{\"gap\":{\"file\":";
    AppendJsonText(json, gap.place);
    json += L",\"files\":" + (gap.missingFiles ? std::to_wstring(*gap.missingFiles) : L"null");
    json += gap.lastRecord > 0 ? L",\"after\":" + std::to_wstring(gap.lastRecord) : L"";
    return json + L",\"from\":" + time(gap.from) + L",\"until\":" + time(gap.until) + L"}}";
}

}  // namespace

void ProblemReport::Report(const Problem& problem) {
    constexpr std::size_t MostRemembered = 10000;
    if (problem.until <= since_ || problem.from >= until_) {
        return;
    }
    isAnyInRange_ = true;
    if (reported_.size() < MostRemembered &&
        !reported_.insert(std::hash<std::wstring>()(problem.place + L'|' + problem.text)).second) {
        return;
    }
    if (!problem.isGap) {
        WriteError(problem.place + L": " + problem.text);
    } else if (json_) {
        WriteErrorLine(GapJson(problem));
    } else {
        WriteError(GapText(problem));
    }
}

}  // namespace quillon_log
