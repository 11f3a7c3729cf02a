// The end of the round's process.

#include <cwchar>

#include "tools/controller-check/round_verdicts.h"

namespace controller_check {
namespace {

std::wstring Hexadecimal(std::int64_t code) {
    wchar_t text[16] = {};
    ::_snwprintf(text, 15, L"0x%08X", static_cast<unsigned>(code));
    return text;
}

const wchar_t* ExceptionName(std::int64_t code) {
    switch (code) {
        case 0xC0000005:
            return L" (access violation)";
        case 0xC000001D:
            return L" (illegal instruction)";
        case 0xC0000094:
            return L" (integer division by zero)";
        case 0xC00000FD:
            return L" (stack overflow)";
        case 0xC0000374:
            return L" (heap corruption)";
        case 0xC0000409:
            return L" (fail-fast)";
        case 0x80000003:
            return L" (breakpoint)";
        case 0x20474343:
        case 0xE06D7363:
            return L" (C++ exception)";
        default:
            return L"";
    }
}

/// Whether the exit code is an exception code, set by the platform.
bool IsErrorStatus(std::uint32_t exitCode) {
    constexpr std::uint32_t Severity = 0xC0000000;
    return (exitCode & Severity) == Severity || (exitCode & Severity) == 0x80000000;
}

std::wstring Where(const Story& story) {
    const std::wstring calls = story.OpenCalls();
    return calls.empty() ? L" between the calls" : L" during " + calls;
}

bool CameToItsEnd(const Story& story) {
    return story.Entered(Call::ProcessEnd);
}

/// Shows a fraction of a second only if it isn't 0.
std::wstring Seconds(std::uint32_t milliseconds) {
    std::wstring text = std::to_wstring(milliseconds / 1000);
    if (milliseconds % 1000 != 0) {
        text += L"." + std::to_wstring(milliseconds % 1000 / 100);
    }
    return text + L" s";
}

}  // namespace

Finding JudgeInTime(const Story& story) {
    if (!story.overdue) {
        return {};
    }
    if (*story.overdue == Call::None) {
        return {Verdict::Failed, L"the round stood still between the calls"};
    }
    return {Verdict::Failed,
            std::wstring(NameOf(*story.overdue)) + L" wasn't over after " + Seconds(story.limit)};
}

Finding JudgeNoCrash(const Story& story) {
    if (const Event* const crash = story.First(EventKind::Crashed)) {
        return {Verdict::Failed, L"exception " + Hexadecimal(crash->code) +
                                     ExceptionName(crash->code) + L" at " + crash->text.data() +
                                     Where(story)};
    }
    // Reported as an access after free.
    if (story.overdue || story.Has(EventKind::TouchedReleased)) {
        return {};
    }
    if (IsErrorStatus(story.exitCode)) {
        return {Verdict::Failed, L"the process ended with exit code " +
                                     Hexadecimal(story.exitCode) + ExceptionName(story.exitCode) +
                                     Where(story)};
    }
    return {};
}

Finding JudgeNoExit(const Story& story) {
    if (story.overdue || JudgeNoCrash(story).verdict == Verdict::Failed ||
        story.Has(EventKind::TouchedReleased)) {
        return {Verdict::Open, L"the process was ended otherwise"};
    }
    if (!CameToItsEnd(story)) {
        return {Verdict::Failed, L"the process ended with exit code " +
                                     std::to_wstring(story.exitCode) + Where(story)};
    }
    if (story.exitCode != 0) {
        return {Verdict::Failed,
                L"the exit code was made " + std::to_wstring(story.exitCode) + L" at the end"};
    }
    for (const Call call :
         {Call::LoadAddons, Call::Activate, Call::NotifyOnStop, Call::Deactivate}) {
        if (story.IsOpen(call)) {
            return {Verdict::Failed,
                    L"the thread that made the call ended during " + std::wstring(NameOf(call))};
        }
    }
    return {};
}

}  // namespace controller_check
