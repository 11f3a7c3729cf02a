// The library's file and results.

#include <algorithm>

#include "framework/system/platform.h"
#include "tools/controller-check/round_verdicts.h"

namespace controller_check {
namespace {

Finding NotReached(const Story& story, Call call) {
    return {Verdict::Open, std::wstring(NameOf(call)) +
                               (story.Entered(call) ? L" didn't return" : L" wasn't called")};
}

Finding JudgeCode(Call call, std::int64_t code) {
    if (code == 0) {
        return {};
    }
    return {Verdict::Failed, std::wstring(NameOf(call)) + L" gave " + std::to_wstring(code)};
}

Finding JudgeCodeOf(const Story& story, Call call) {
    const auto code = story.Code(call);
    return code ? JudgeCode(call, *code) : NotReached(story, call);
}

/// A concurrent start and stop may each be refused.
Finding JudgeUnlessBesideStop(const Story& story, Call call) {
    if (story.round == Round::Shutdown) {
        return {Verdict::Open, L"a start and a stop side by side may be refused"};
    }
    return JudgeCodeOf(story, call);
}

bool IsDependencyError(std::int64_t error) {
    return error == ERROR_MOD_NOT_FOUND || error == ERROR_PROC_NOT_FOUND;
}

const Event* FindRow(const Story& story, bool atCreate) {
    const auto found =
        std::find_if(story.events.begin(), story.events.end(), [&](const Event& event) {
            return event.kind == EventKind::BadRow && (event.call == Call::Create) == atCreate;
        });
    return found == story.events.end() ? nullptr : &*found;
}

}  // namespace

Finding JudgeDependencies(const Story& story) {
    const Event* const failure = story.First(EventKind::LoadFailed);
    if (failure == nullptr) {
        return story.Code(Call::Attach) ? Finding{} : NotReached(story, Call::Attach);
    }
    if (!IsDependencyError(failure->code)) {
        return {Verdict::Open, L"it couldn't be loaded for another reason"};
    }
    if (failure->code == ERROR_PROC_NOT_FOUND) {
        return {Verdict::Failed, L"one of them lacks a function that it is bound to"};
    }
    const std::wstring name = failure->text.data();
    return {Verdict::Failed,
            name.empty() ? L"one that it needs indirectly isn't found" : name + L" isn't found"};
}

Finding JudgeAttach(const Story& story) {
    const Event* const failure = story.First(EventKind::LoadFailed);
    if (failure == nullptr) {
        return story.Code(Call::Attach) ? Finding{} : NotReached(story, Call::Attach);
    }
    if (IsDependencyError(failure->code)) {
        return {Verdict::Open, L"it wasn't loaded"};
    }
    return {Verdict::Failed, L"loading it gave error " + std::to_wstring(failure->code)};
}

Finding JudgeCreateResult(const Story& story) {
    return JudgeCodeOf(story, Call::Create);
}

Finding JudgeControllerRow(const Story& story) {
    if (const Event* const fault = FindRow(story, true)) {
        return {Verdict::Failed, fault->text.data()};
    }
    const auto code = story.Code(Call::Create);
    if (code && *code != 0) {
        return {Verdict::Open, L"create gave no controller"};
    }
    return code ? Finding{} : NotReached(story, Call::Create);
}

Finding JudgeLoadResult(const Story& story) {
    return JudgeUnlessBesideStop(story, Call::LoadAddons);
}

Finding JudgeActivateResult(const Story& story) {
    const Finding finding = JudgeUnlessBesideStop(story, Call::Activate);
    const bool isSoftFailure = story.Code(Call::Activate) == 3;
    return finding.verdict == Verdict::Failed && isSoftFailure ? Finding{} : finding;
}

Finding JudgeNotifyResult(const Story& story) {
    return JudgeUnlessBesideStop(story, Call::NotifyOnStop);
}

/// Deactivate after a failed Activate is only logged, so this finds the one of the stop.
Finding JudgeDeactivateResult(const Story& story) {
    if (story.round == Round::Shutdown) {
        return JudgeUnlessBesideStop(story, Call::Deactivate);
    }
    const auto found = std::find_if(
        story.events.begin() + static_cast<std::ptrdiff_t>(story.PlaceOfReturn(Call::NotifyOnStop)),
        story.events.end(), [](const Event& event) {
            return event.kind == EventKind::Returned && event.call == Call::Deactivate;
        });
    return found == story.events.end()
               ? Finding{Verdict::Open, L"no stop came as far as Deactivate"}
               : JudgeCode(Call::Deactivate, found->code);
}

Finding JudgeFreeResult(const Story& story) {
    return JudgeCodeOf(story, Call::Free);
}

Finding JudgeRowCallable(const Story& story) {
    if (const Event* const fault = FindRow(story, false)) {
        return {Verdict::Failed,
                L"before " + std::wstring(NameOf(fault->call)) + L": " + fault->text.data()};
    }
    return story.Entered(Call::LoadAddons) || story.Entered(Call::NotifyOnStop)
               ? Finding{}
               : NotReached(story, Call::LoadAddons);
}

}  // namespace controller_check
