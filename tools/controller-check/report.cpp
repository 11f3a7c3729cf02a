#include "tools/controller-check/report.h"

#include <algorithm>

#include "tools/shared/json_text.h"

namespace controller_check {
namespace {

constexpr std::size_t VerdictWidth = 8;
constexpr std::size_t IdWidth = 18;

const wchar_t* NameOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Met:
            return L"ok";
        case Verdict::Failed:
            return L"FAIL";
        case Verdict::Advice:
            return L"advice";
        case Verdict::Open:
            break;
    }
    return L"-";
}

const wchar_t* ColorOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Met:
            return L"\x1b[32m";
        case Verdict::Failed:
            return L"\x1b[1;31m";
        case Verdict::Advice:
            return L"\x1b[33m";
        case Verdict::Open:
            break;
    }
    return L"\x1b[2m";
}

std::wstring Padded(std::wstring text, std::size_t width) {
    text.resize(std::max(width, text.size() + 1), L' ');
    return text;
}

std::wstring RoundNames(const std::vector<Round>& rounds) {
    std::wstring names;
    for (const Round round : rounds) {
        names += (names.empty() ? L"" : L", ") + std::wstring(InfoOf(round).name);
    }
    return names;
}

/// Verdict, identifier and text: the expectation if it is met, the reason if it is open, else the
/// remarks and the advice, one per line.
std::wstring Line(const Result& result, bool color) {
    const std::wstring verdict = Padded(NameOf(result.verdict), VerdictWidth);
    std::wstring text = L"  " + (color ? ColorOf(result.verdict) + verdict + L"\x1b[0m" : verdict) +
                        Padded(result.expectation->id, IdWidth);
    if (result.verdict == Verdict::Met) {
        return text + result.expectation->statement + L'\n';
    }
    const std::wstring indent(2 + VerdictWidth + IdWidth, L' ');
    if (result.verdict == Verdict::Open) {
        return text +
               (result.remarks.empty() ? L"no round was played" : result.remarks.front().detail) +
               L'\n';
    }
    bool first = true;
    for (const Remark& remark : result.remarks) {
        text += (first ? L"" : indent) + remark.detail +
                (remark.rounds.empty() ? L"" : L" [" + RoundNames(remark.rounds) + L"]") + L'\n';
        first = false;
    }
    return text + indent + result.expectation->advice + L'\n';
}

/// Whether no round that checks it was played.
bool IsUnplayed(const Result& result) {
    return result.verdict == Verdict::Open && result.remarks.empty();
}

std::size_t CountOf(const std::vector<Result>& results, Verdict verdict) {
    return static_cast<std::size_t>(
        std::count_if(results.begin(), results.end(),
                      [&](const Result& result) { return result.verdict == verdict; }));
}

/// If rounds differ, the verdict of the highest rank counts.
int Rank(Verdict verdict) {
    switch (verdict) {
        case Verdict::Failed:
            return 3;
        case Verdict::Advice:
            return 2;
        case Verdict::Met:
            return 1;
        case Verdict::Open:
            break;
    }
    return 0;
}

std::wstring ToJson(const Remark& remark) {
    std::wstring rounds;
    for (const Round round : remark.rounds) {
        rounds += (rounds.empty() ? L"" : L",") + tools::JsonText(InfoOf(round).name);
    }
    return L"{\"rounds\":[" + rounds + L"],\"detail\":" + tools::JsonText(remark.detail) + L"}";
}

std::wstring ToJson(const Result& result) {
    std::wstring remarks;
    for (const Remark& remark : result.remarks) {
        remarks += (remarks.empty() ? L"" : L",") + ToJson(remark);
    }
    return L"{\"id\":" + tools::JsonText(result.expectation->id) + L",\"verdict\":" +
           tools::JsonText(NameOf(result.verdict)) + L",\"expectation\":" +
           tools::JsonText(result.expectation->statement) +
           (result.verdict == Verdict::Failed || result.verdict == Verdict::Advice
                ? L",\"advice\":" + tools::JsonText(result.expectation->advice)
                : L"") +
           L",\"remarks\":[" + remarks + L"]}";
}

}  // namespace

void Merge(Result& result, const Finding& finding, const Round* round) {
    if (Rank(finding.verdict) < Rank(result.verdict)) {
        return;
    }
    if (finding.verdict != result.verdict) {
        result.verdict = finding.verdict;
        result.remarks.clear();
    }
    if (finding.verdict == Verdict::Met) {
        return;
    }
    auto remark = std::find_if(result.remarks.begin(), result.remarks.end(),
                               [&](const Remark& each) { return each.detail == finding.detail; });
    if (remark == result.remarks.end()) {
        remark = result.remarks.insert(result.remarks.end(), Remark{{}, finding.detail});
    }
    if (round != nullptr &&
        std::find(remark->rounds.begin(), remark->rounds.end(), *round) == remark->rounds.end()) {
        remark->rounds.push_back(*round);
    }
}

Results::Results() {
    for (const Expectation& expectation : Expectations()) {
        results_.push_back({&expectation, Verdict::Open, {}});
    }
}

void Results::AddFile(const std::vector<Finding>& findings) {
    for (std::size_t index = 0; index < findings.size(); ++index) {
        Merge(results_[index], findings[index], nullptr);
    }
}

void Results::AddRound(const Story& story) {
    for (Result& result : results_) {
        if (result.expectation->judge != nullptr) {
            Merge(result, result.expectation->judge(story), &story.round);
        }
    }
}

bool Results::HasFailure() const {
    return CountOf(results_, Verdict::Failed) > 0;
}

std::wstring ToText(const std::wstring& library, const std::vector<Result>& results, bool quiet,
                    bool color) {
    const auto unplayed =
        static_cast<std::size_t>(std::count_if(results.begin(), results.end(), IsUnplayed));
    std::wstring text = quiet ? L"" : L"\n" + library + L"\n\n";
    for (const Result& result : results) {
        const bool isShown = unplayed < 2 || !IsUnplayed(result);
        if (quiet ? result.verdict == Verdict::Failed : isShown) {
            text += Line(result, color);
        }
    }
    // An unusable file is reported once, not for each expectation.
    if (!quiet && unplayed >= 2) {
        text += L"\n  The other " + std::to_wstring(unplayed) +
                L" expectations were not checked: no round was played.\n";
    }
    if (!quiet) {
        text += L"\n  " + std::to_wstring(results.size()) + L" expectations: " +
                std::to_wstring(CountOf(results, Verdict::Met)) + L" met, " +
                std::to_wstring(CountOf(results, Verdict::Failed)) + L" not met, " +
                std::to_wstring(CountOf(results, Verdict::Advice)) + L" with advice, " +
                std::to_wstring(CountOf(results, Verdict::Open)) + L" not seen\n";
    }
    return text;
}

std::wstring ToJson(const std::wstring& library, const std::vector<Result>& results) {
    std::wstring expectations;
    for (const Result& result : results) {
        expectations += (expectations.empty() ? L"\n" : L",\n") + ToJson(result);
    }
    return L"{\"library\":" + tools::JsonText(library) + L",\"met\":" +
           std::to_wstring(CountOf(results, Verdict::Met)) + L",\"failed\":" +
           std::to_wstring(CountOf(results, Verdict::Failed)) + L",\"advice\":" +
           std::to_wstring(CountOf(results, Verdict::Advice)) + L",\"open\":" +
           std::to_wstring(CountOf(results, Verdict::Open)) + L",\"expectations\":[" +
           expectations + L"]}\n";
}

}  // namespace controller_check
