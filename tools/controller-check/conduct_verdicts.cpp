// The library's calls to the host.

#include <algorithm>

#include "tools/controller-check/round_verdicts.h"

namespace controller_check {
namespace {

Finding Failed(std::wstring detail) {
    return {Verdict::Failed, std::move(detail)};
}

Finding Advice(std::wstring detail) {
    return {Verdict::Advice, std::move(detail)};
}

Finding Open(std::wstring detail) {
    return {Verdict::Open, std::move(detail)};
}

/// Whether the library ran at all; otherwise "no error" means nothing.
bool HasRun(const Story& story) {
    return story.Code(Call::Create).has_value() || story.Code(Call::Bootstrap).has_value();
}

Finding MetIfRun(const Story& story) {
    return HasRun(story) ? Finding{} : Open(L"the create call didn't return");
}

Finding JudgeRegistration(const Story& story, EventKind fault, const std::wstring& detail) {
    if (story.Has(fault)) {
        return Failed(detail);
    }
    return story.FirstHostCall(HostFunction::Register) != nullptr
               ? Finding{}
               : Open(L"the library didn't ask for the host's interfaces");
}

using EventPlace = std::vector<Event>::const_iterator;

EventPlace At(const Story& story, std::size_t place) {
    return story.events.begin() + static_cast<std::ptrdiff_t>(place);
}

/// The first call that needs the service object.
const Event* FindServiceCall(EventPlace begin, EventPlace end) {
    const EventPlace found = std::find_if(begin, end, [](const Event& event) {
        return event.kind == EventKind::HostCalled && (event.function == HostFunction::EnableStop ||
                                                       event.function == HostFunction::Interrupt);
    });
    return found == end ? nullptr : &*found;
}

}  // namespace

Finding JudgeRegisterContext(const Story& story) {
    return JudgeRegistration(story, EventKind::BadContext,
                             L"RegisterHostComponentEntry got another one");
}

Finding JudgeRegistrarRow(const Story& story) {
    const Event* const fault = story.First(EventKind::BadRegistrar);
    return JudgeRegistration(story, EventKind::BadRegistrar,
                             fault == nullptr ? L"" : fault->text.data());
}

Finding JudgeRegisterResult(const Story& story) {
    if (story.Has(EventKind::BadRegistrar)) {
        return Open(L"the registrar couldn't be called");
    }
    const Event* const fault = story.First(EventKind::Refused);
    return JudgeRegistration(story, EventKind::Refused,
                             fault == nullptr
                                 ? L""
                                 : L"RegisterInterface gave " + std::to_wstring(fault->code) +
                                       L" for " + fault->text.data());
}

Finding JudgeTooEarly(const Story& story) {
    const Event* const call =
        FindServiceCall(story.events.begin(), At(story, story.PlaceOfReturn(Call::Create)));
    return call == nullptr ? MetIfRun(story)
                           : Failed(std::wstring(NameOf(call->function)) +
                                    L" was called before create had returned");
}

/// The host releases the service object before the free call.
Finding JudgeTooLate(const Story& story) {
    if (!story.Entered(Call::Free)) {
        return Open(L"free wasn't called");
    }
    const auto entry =
        std::find_if(story.events.begin(), story.events.end(), [](const Event& event) {
            return event.kind == EventKind::Entered && event.call == Call::Free;
        });
    const Event* const call = FindServiceCall(entry, At(story, story.PlaceOfReturn(Call::Free)));
    return call == nullptr
               ? Finding{}
               : Failed(std::wstring(NameOf(call->function)) + L" was called during free");
}

Finding JudgeGoesOn(const Story& story) {
    return story.FirstHostCall(HostFunction::Interrupt) == nullptr
               ? MetIfRun(story)
               : Advice(L"OrrinInterruptCallback was called");
}

Finding JudgeStopPermission(const Story& story) {
    if (story.round != Round::Service && story.round != Round::Console) {
        return Open(L"only looked for when the library may work for a while");
    }
    if (story.FirstHostCall(HostFunction::EnableStop) != nullptr) {
        return {};
    }
    return story.Code(Call::Activate) == 0 && story.Entered(Call::NotifyOnStop)
               ? Advice(L"OrrinEnableServiceStop wasn't called")
               : Open(L"the library wasn't active up to a stop");
}

Finding JudgeLogText(const Story& story) {
    if (const Event* const fault = story.First(EventKind::BadText)) {
        return Failed(fault->text.data());
    }
    return story.logLines > 0 ? Finding{} : Open(L"the library logged nothing");
}

Finding JudgeRecords(const Story& story) {
    if (const Event* const change = story.First(EventKind::RecordChanged)) {
        return Failed(std::wstring(change->text.data()) + L": changed when " +
                      NameOf(change->call) + L" had returned");
    }
    return MetIfRun(story);
}

Finding JudgeCrashFilter(const Story& story) {
    if (const Event* const change = story.First(EventKind::FilterReplaced)) {
        return Failed(L"another one stood when " + std::wstring(NameOf(change->call)) +
                      L" had returned");
    }
    return MetIfRun(story);
}

Finding JudgeCom(const Story& story) {
    if (const Event* const change = story.First(EventKind::ApartmentLost)) {
        return Failed(L"the main thread wasn't in its apartment any more when " +
                      std::wstring(NameOf(change->call)) + L" had returned");
    }
    return story.Code(Call::Create) ? Finding{} : Open(L"the create call didn't return");
}

Finding JudgePreException(const Story& story) {
    if (story.Has(EventKind::BadCallback)) {
        return Failed(L"a callback was set that can't be called");
    }
    if (story.Has(EventKind::CallbackLeft)) {
        return Failed(L"a callback was set when free had returned");
    }
    if (story.FirstHostCall(HostFunction::SetCallback) == nullptr) {
        return Open(L"the library set no callback");
    }
    return story.Code(Call::Free) ? Finding{} : Open(L"free didn't return");
}

/// After `OrrinBootstrap` only the record is released; the log sink still works.
Finding JudgeAfterFree(const Story& story) {
    const Call last = story.round == Round::Unpack ? Call::Bootstrap : Call::Free;
    const std::size_t place = story.PlaceOfReturn(last);
    if (place == story.events.size()) {
        return Open(std::wstring(NameOf(last)) +
                    (story.Entered(last) ? L" didn't return" : L" wasn't called"));
    }
    const std::wstring when = std::wstring(L" after ") + NameOf(last) + L" had returned";
    for (std::size_t index = place + 1; index < story.events.size(); ++index) {
        const Event& event = story.events[index];
        if (event.kind == EventKind::HostCalled && story.round != Round::Unpack) {
            return Failed(std::wstring(NameOf(event.function)) + L" was called " +
                          std::to_wstring(event.tick - story.events[place].tick) + L" ms" + when);
        }
        if (event.kind == EventKind::TouchedReleased) {
            return Failed(std::wstring(event.text.data()) + L" touched the host's records" + when);
        }
    }
    return story.Has(EventKind::Watched) ? Finding{} : Open(L"the round broke off before");
}

}  // namespace controller_check
