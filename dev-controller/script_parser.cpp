#include "dev-controller/script_parser.h"

#include <algorithm>
#include <set>
#include <utility>

#include "dev-controller/action_parser.h"
#include "dev-controller/script_words.h"

namespace dev_controller {
namespace {

constexpr std::uint32_t MaximumChatterThreads = 64;
constexpr std::uint32_t MaximumChatterLength = 1000000;
constexpr std::string_view StatusFunction = "SetServiceStatus";

CallRange ReadRange(ScriptWords& words) {
    const std::wstring_view word = words.Word(L"the calls");
    const auto range = ParseCallRange(word);
    if (!range) {
        words.Fail(L"the calls are N, N+, N-M or every, counted from 1");
    }
    return range.value_or(CallRange{});
}

std::string ReadFunction(ScriptWords& words) {
    std::string name;
    for (const wchar_t character : words.Word(L"the function")) {
        if (character > 0x7F) {
            words.Fail(L"a function's name is plain ASCII");
        }
        name += static_cast<char>(character);
    }
    return name;
}

/// Parses NAME=NUMBER words into the fields of these names.
std::optional<Chatter> ReadChatter(ScriptWords& words) {
    Chatter chatter;
    const std::pair<std::wstring_view, std::uint32_t*> fields[] = {{L"threads", &chatter.threads},
                                                                   {L"rate", &chatter.rate},
                                                                   {L"length", &chatter.length},
                                                                   {L"lines", &chatter.lines}};
    while (!words.AtEnd()) {
        const std::wstring_view word = words.Word(L"the setting");
        const std::size_t equals = std::min(word.find(L'='), word.size());
        const auto field = std::find_if(std::begin(fields), std::end(fields), [&](const auto& it) {
            return it.first == word.substr(0, equals);
        });
        const auto number = ParseNumber(word.substr(std::min(equals + 1, word.size())));
        if (field == std::end(fields) || !number || *number > NoLimit) {
            words.Fail(L"a chatty setting is threads=N, rate=N, length=N or lines=N");
            return std::nullopt;
        }
        *field->second = static_cast<std::uint32_t>(*number);
    }
    if (chatter.threads == 0 || chatter.threads > MaximumChatterThreads || chatter.length == 0 ||
        chatter.length > MaximumChatterLength) {
        words.Fail(L"chatty takes 1 to 64 threads and lines of 1 to 1000000 characters");
        return std::nullopt;
    }
    return chatter;
}

std::optional<Point> PointNamed(std::wstring_view name) {
    constexpr std::pair<std::wstring_view, Point> Points[] = {
        {L"attach", Point::Attach}, {L"create", Point::Create},
        {L"load", Point::Load},     {L"activate", Point::Activate},
        {L"notify", Point::Notify}, {L"deactivate", Point::Deactivate},
        {L"free", Point::Free},     {L"bootstrap", Point::Bootstrap}};
    for (const auto& [known, point] : Points) {
        if (known == name) {
            return point;
        }
    }
    return std::nullopt;
}

/// `on POINT[:CALLS] ACTION`
void ReadPointLine(ScriptWords& words, Script& script) {
    const std::wstring_view word = words.Word(L"the point");
    const std::size_t colon = std::min(word.find(L':'), word.size());
    const auto point = PointNamed(word.substr(0, colon));
    const auto calls = colon == word.size() ? CallRange{} : ParseCallRange(word.substr(colon + 1));
    if (!point || !calls) {
        words.Fail(L"unknown point: " + std::wstring(word));
        return;
    }
    const ActionPlace place = *point == Point::Create ? ActionPlace::Create : ActionPlace::Point;
    script.lines.push_back({*point, *calls, ParseAction(words, place)});
}

/// `fail-import FUNCTION CALLS ERROR [RETURN] [text=TEXT]`
void ReadFailImport(ScriptWords& words, Script& script) {
    constexpr std::wstring_view TextWord = L"text=";
    ImportRule rule{ReadFunction(words), ReadRange(words), FailImport{}};
    FailImport fail;
    fail.error = words.Unsigned(L"the error");
    if (!words.AtEnd() && !words.Peek().starts_with(TextWord)) {
        // A negative result keeps its sign through all 64 bits: -1 is the invalid handle.
        const bool negative = words.Peek().starts_with(L'-');
        fail.result = negative ? static_cast<std::uint64_t>(static_cast<std::int64_t>(
                                     static_cast<std::int32_t>(words.Bits32(L"the result"))))
                               : words.Unsigned64(L"the result");
    }
    if (words.Peek().starts_with(TextWord)) {
        fail.text = words.Word(L"the text").substr(TextWord.size());
    }
    rule.what = fail;
    script.importRules.push_back(std::move(rule));
}

void ReadFailStatus(ScriptWords& words, Script& script) {
    ImportRule rule{std::string(StatusFunction), ReadRange(words), FailImport{}};
    FailImport fail;
    fail.error = words.Unsigned(L"the error");
    rule.what = fail;
    script.importRules.push_back(std::move(rule));
}

void ReadBeforeImport(ScriptWords& words, Script& script) {
    ImportRule rule{ReadFunction(words), ReadRange(words), TraceImport{}};
    rule.what = BeforeImport{{ParseAction(words, ActionPlace::Elsewhere)}};
    script.importRules.push_back(std::move(rule));
}

void ReadRoutine(ScriptWords& words, Script& script) {
    const std::wstring name = std::wstring(words.Word(L"the routine's name"));
    script.routines[name].push_back(ParseAction(words, ActionPlace::Elsewhere));
}

using StatementReader = void (*)(ScriptWords& words, Script& script);

constexpr std::pair<std::wstring_view, StatementReader> Statements[] = {
    {L"on", ReadPointLine},
    {L"routine", ReadRoutine},
    {L"transcript",
     [](ScriptWords& words, Script& script) { script.transcript = words.Rest(L"the path"); }},
    {L"healthy", [](ScriptWords&, Script& script) { script.healthy = true; }},
    {L"chatty",
     [](ScriptWords& words, Script& script) {
         script.healthy = true;
         script.chatter = ReadChatter(words);
     }},
    {L"registrar-results",
     [](ScriptWords& words, Script& script) {
         script.firstRegistrarResult = words.Bits32(L"the first result");
         script.secondRegistrarResult = words.Bits32(L"the second result");
     }},
    {L"fail-import", ReadFailImport},
    {L"fail-status", ReadFailStatus},
    {L"before-import", ReadBeforeImport},
    {L"trace-import",
     [](ScriptWords& words, Script& script) {
         script.importRules.push_back({ReadFunction(words), CallRange{}, TraceImport{}});
     }},
    {L"record-status",
     [](ScriptWords&, Script& script) {
         script.importRules.push_back({std::string(StatusFunction), CallRange{}, RecordStatus{}});
     }},
};

void ReadStatement(ScriptWords& words, Script& script) {
    const std::wstring_view name = words.Word(L"the statement");
    for (const auto& [known, reader] : Statements) {
        if (known == name) {
            reader(words, script);
            words.ExpectEnd();
            return;
        }
    }
    words.Fail(L"unknown statement: " + std::wstring(name));
}

void CollectCalls(const Actions& actions, std::set<std::wstring>& calls);

struct CallCollector {
    std::set<std::wstring>& calls;

    void operator()(const CallRoutine& call) const { calls.insert(call.name); }
    void operator()(const StartThreads& threads) const { CollectCalls(threads.body, calls); }
    void operator()(const Repeat& repeat) const { CollectCalls(repeat.body, calls); }
    void operator()(const SetCallback& callback) const { CollectCalls(callback.body, calls); }
    template <typename Other>
    void operator()(const Other&) const {}
};

void CollectCalls(const Actions& actions, std::set<std::wstring>& calls) {
    for (const Action& action : actions) {
        std::visit(CallCollector{calls}, action.what);
    }
}

std::set<std::wstring> CallsOutsideRoutines(const Script& script) {
    std::set<std::wstring> calls;
    for (const PointLine& line : script.lines) {
        CollectCalls({line.action}, calls);
    }
    for (const ImportRule& rule : script.importRules) {
        if (const auto* before = std::get_if<BeforeImport>(&rule.what)) {
            CollectCalls(before->body, calls);
        }
    }
    return calls;
}

/// Everything that a routine calls, also through others.
std::set<std::wstring> Reached(const Script& script, std::set<std::wstring> open) {
    std::set<std::wstring> reached;
    while (!open.empty()) {
        const std::wstring name = *open.begin();
        open.erase(open.begin());
        const auto routine = script.routines.find(name);
        if (reached.insert(name).second && routine != script.routines.end()) {
            CollectCalls(routine->second, open);
        }
    }
    return reached;
}

std::optional<ScriptError> CheckRoutines(const Script& script) {
    std::set<std::wstring> called = CallsOutsideRoutines(script);
    for (const auto& [name, actions] : script.routines) {
        std::set<std::wstring> own;
        CollectCalls(actions, own);
        called.insert(own.begin(), own.end());
        if (Reached(script, own).contains(name)) {
            return ScriptError{0, L"a routine calls itself: " + name};
        }
    }
    for (const std::wstring& name : called) {
        if (!script.routines.contains(name)) {
            return ScriptError{0, L"unknown routine: " + name};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Chatter> ParseChatter(std::wstring_view text) {
    ScriptWords words(text);
    return ReadChatter(words);
}

std::variant<Script, ScriptError> ParseScript(std::wstring_view text) {
    Script script;
    for (std::uint32_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find(L'\n'), text.size());
        std::wstring_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.ends_with(L'\r')) {
            line.remove_suffix(1);
        }
        ScriptWords words(line);
        if (words.AtEnd() || words.Peek().starts_with(L'#')) {
            continue;
        }
        ReadStatement(words, script);
        if (words.Mistake()) {
            return ScriptError{number, *words.Mistake()};
        }
    }
    if (const auto error = CheckRoutines(script)) {
        return *error;
    }
    return script;
}

}  // namespace dev_controller
