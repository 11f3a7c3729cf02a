#include "dev-controller/action_parser.h"

#include <utility>

namespace dev_controller {
namespace {

constexpr const wchar_t* OwnComponent = L"dev-controller";
constexpr std::uint32_t MaximumThreads = 256;

Actions ParseBody(ScriptWords& words) {
    return {ParseAction(words, ActionPlace::Elsewhere)};
}

/// The word `default` means this library's own name, unless it is quoted.
std::optional<std::wstring> ParseComponent(ScriptWords& words) {
    if (words.Peek() == L"default") {
        words.Word(L"the component");
        return OwnComponent;
    }
    return words.NullableText(L"the component");
}

std::uint32_t ParseLevel(ScriptWords& words) {
    constexpr std::pair<std::wstring_view, std::uint32_t> Levels[] = {
        {L"trace", 0}, {L"warning", 1}, {L"error", 2}, {L"verbose", 3}};
    for (const auto& [name, level] : Levels) {
        if (words.Peek() == name) {
            words.Word(L"the level");
            return level;
        }
    }
    return words.Bits32(L"the level");
}

Action ParseLog(ScriptWords& words) {
    LogLine line;
    line.level = ParseLevel(words);
    line.component = ParseComponent(words);
    line.text = words.RestAsText(L"the text");
    return {line};
}

/// Not unescaped: the backslash in Local\NAME isn't an escape.
std::wstring EventName(ScriptWords& words) {
    return std::wstring(words.Word(L"the event's name"));
}

Action ParseWait(ScriptWords& words) {
    WaitForNamedEvent wait;
    wait.name = EventName(words);
    wait.limit = words.AtEnd() ? NoLimit : words.Unsigned(L"the limit");
    return {wait};
}

Action ParseSetCallback(ScriptWords& words) {
    if (words.Peek() == L"null") {
        words.Word(L"the callback");
        return {SetCallback{}};
    }
    return {SetCallback{ParseBody(words)}};
}

Action ParseCrash(ScriptWords& words) {
    constexpr std::pair<std::wstring_view, CrashKind> Kinds[] = {
        {L"read", CrashKind::Read},
        {L"write", CrashKind::Write},
        {L"execute", CrashKind::Execute},
        {L"guard", CrashKind::Guard},
        {L"misaligned", CrashKind::Misaligned},
        {L"divide", CrashKind::Divide},
        {L"overflow", CrashKind::Overflow},
        {L"illegal", CrashKind::Illegal},
        {L"privileged", CrashKind::Privileged},
        {L"breakpoint", CrashKind::Breakpoint},
        {L"cpp", CrashKind::Cpp},
        {L"raise", CrashKind::Raise},
        {L"heap-corruption", CrashKind::HeapCorruption},
        {L"stack-overflow", CrashKind::StackOverflow},
        {L"fail-fast", CrashKind::FailFast},
        {L"handled", CrashKind::Handled},
    };
    const std::wstring_view word = words.Word(L"the kind of crash");
    for (const auto& [name, kind] : Kinds) {
        if (name != word) {
            continue;
        }
        CrashRequest request{kind, 0, 0, false};
        if (kind == CrashKind::Raise) {
            request.code = words.Unsigned(L"the exception code");
            if (!words.AtEnd()) {
                request.continuable = words.Word(L"continuable") == L"continuable";
                if (!request.continuable) {
                    words.Fail(L"the code is followed by continuable, or by nothing");
                }
            }
        }
        if (kind == CrashKind::Handled) {
            request.count = words.Unsigned(L"the number of exceptions");
            request.code = words.AtEnd() ? 0 : words.Unsigned(L"the exception code");
        }
        return {CrashNow{request, std::wstring(name)}};
    }
    words.Fail(L"unknown kind of crash: " + std::wstring(word));
    return {};
}

Action ParseThreads(ScriptWords& words) {
    const std::uint32_t count = words.Unsigned(L"the number of threads");
    if (count == 0 || count > MaximumThreads) {
        words.Fail(L"the number of threads is 1 to 256");
    }
    return {StartThreads{count, true, ParseBody(words)}};
}

/// A thread that waits first.
Action ThreadThatStartsWith(Action wait, ScriptWords& words) {
    Action then = ParseAction(words, ActionPlace::Elsewhere);
    return {StartThreads{1, true, {std::move(wait), std::move(then)}}};
}

Action ParseExit(ScriptWords& words) {
    ExitWithCode exit = {words.Bits32(L"the exit code")};
    if (!words.AtEnd()) {
        exit.byRunTime = words.Word(L"run-time") == L"run-time";
        if (!exit.byRunTime) {
            words.Fail(L"the exit code is followed by run-time, or by nothing");
        }
    }
    return {exit};
}

Action ParseAfter(ScriptWords& words) {
    const Delay delay{words.Unsigned(L"the delay")};
    return ThreadThatStartsWith({delay}, words);
}

Action ParseWhenEvent(ScriptWords& words) {
    const WaitForNamedEvent wait{EventName(words), NoLimit};
    return ThreadThatStartsWith({wait}, words);
}

Action ParseRepeat(ScriptWords& words) {
    const std::uint32_t count = words.Unsigned(L"the number of times");
    return {Repeat{count, ParseBody(words)}};
}

Action ParseComInit(ScriptWords& words) {
    const std::wstring_view kind = words.Word(L"the apartment");
    if (kind != L"multi" && kind != L"single") {
        words.Fail(L"the apartment is multi or single");
    }
    return {InitializeCom{kind == L"multi"}};
}

using Parser = Action (*)(ScriptWords& words);

constexpr std::pair<std::wstring_view, Parser> Parsers[] = {
    {L"delay", [](ScriptWords& words) -> Action { return {Delay{words.Unsigned(L"the delay")}}; }},
    {L"wait-event", ParseWait},
    {L"set-event", [](ScriptWords& words) -> Action { return {SetNamedEvent{EventName(words)}}; }},
    {L"log", ParseLog},
    {L"enable-stop", [](ScriptWords&) -> Action { return {EnableStop{}}; }},
    {L"interrupt", [](ScriptWords&) -> Action { return {Interrupt{}}; }},
    {L"flush", [](ScriptWords&) -> Action { return {FlushLog{}}; }},
    {L"register", [](ScriptWords&) -> Action { return {RegisterInterfaces{}}; }},
    {L"set-callback", ParseSetCallback},
    {L"remove-callback", [](ScriptWords&) -> Action { return {RemoveCallback{}}; }},
    {L"crash", ParseCrash},
    {L"thread",
     [](ScriptWords& words) -> Action { return {StartThreads{1, true, ParseBody(words)}}; }},
    {L"detached-thread",
     [](ScriptWords& words) -> Action { return {StartThreads{1, false, ParseBody(words)}}; }},
    {L"threads", ParseThreads},
    {L"after", ParseAfter},
    {L"when-event", ParseWhenEvent},
    {L"repeat", ParseRepeat},
    {L"call",
     [](ScriptWords& words) -> Action {
         return {CallRoutine{std::wstring(words.Word(L"the routine"))}};
     }},
    {L"exit", ParseExit},
    {L"com-init", ParseComInit},
};

Action ParseReturn(ScriptWords& words, ActionPlace place) {
    if (place == ActionPlace::Elsewhere) {
        words.Fail(L"return stands directly after its point only");
    }
    return {ReturnCode{static_cast<std::int32_t>(words.Bits32(L"the code"))}};
}

Action ParseNullController(ScriptWords& words, ActionPlace place) {
    if (place != ActionPlace::Create) {
        words.Fail(L"null-controller belongs to the point create");
    }
    return {NullController{}};
}

Action ParseUnchecked(ScriptWords& words, ActionPlace place) {
    const std::wstring_view name = words.Word(L"the action");
    if (name == L"return") {
        return ParseReturn(words, place);
    }
    if (name == L"null-controller") {
        return ParseNullController(words, place);
    }
    for (const auto& [known, parser] : Parsers) {
        if (known == name) {
            return parser(words);
        }
    }
    words.Fail(L"unknown action: " + std::wstring(name));
    return {};
}

}  // namespace

Action ParseAction(ScriptWords& words, ActionPlace place) {
    const ScriptWords::Nesting nesting(words);
    Action action = ParseUnchecked(words, place);
    words.ExpectEnd();
    return action;
}

std::optional<CallRange> ParseCallRange(std::wstring_view text) {
    if (text == L"every") {
        return CallRange{};
    }
    const bool open = text.ends_with(L'+');
    const std::size_t dash = text.find(L'-');
    const auto first = ParseNumber(open ? text.substr(0, text.size() - 1) : text.substr(0, dash));
    auto last = first;
    if (open) {
        last = NoLimit;
    } else if (dash != std::wstring_view::npos) {
        last = ParseNumber(text.substr(dash + 1));
    }
    if (!first || !last || *first == 0 || *first > *last || *last > NoLimit) {
        return std::nullopt;
    }
    return CallRange{static_cast<std::uint32_t>(*first), static_cast<std::uint32_t>(*last)};
}

}  // namespace dev_controller
