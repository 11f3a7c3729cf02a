// Scripts of the development controller are accepted and refused exactly as its README says.

#include <gtest/gtest.h>

#include <cstddef>

#include "dev-controller/script_parser.h"
#include "dev-controller/text_encoding.h"
#include "tests/fuzz/script_model.h"
#include "tests/fuzz/target.h"

namespace fuzz {
namespace {

const std::wstring Characters = L"abex01:+-=.\\\"# \t\n\r\x00E9\x65E5\xD83D\xDE00\xFEFF";

const std::vector<std::wstring> Words = {L"on ",
                                         L"routine ",
                                         L"transcript ",
                                         L"healthy",
                                         L"chatty ",
                                         L"registrar-results ",
                                         L"fail-import ",
                                         L"fail-status ",
                                         L"before-import ",
                                         L"trace-import ",
                                         L"record-status",
                                         L"attach ",
                                         L"create ",
                                         L"load ",
                                         L"activate:2 ",
                                         L"notify:1-3 ",
                                         L"deactivate:2+ ",
                                         L"free ",
                                         L"bootstrap:every ",
                                         L"return ",
                                         L"null-controller",
                                         L"delay ",
                                         L"wait-event ",
                                         L"set-event ",
                                         L"log ",
                                         L"enable-stop",
                                         L"interrupt",
                                         L"flush",
                                         L"register",
                                         L"set-callback ",
                                         L"remove-callback",
                                         L"crash ",
                                         L"thread ",
                                         L"detached-thread ",
                                         L"threads 2 ",
                                         L"after 5 ",
                                         L"when-event e ",
                                         L"repeat 3 ",
                                         L"call ",
                                         L"exit ",
                                         L"com-init multi",
                                         L"null ",
                                         L"default ",
                                         L"trace ",
                                         L"error ",
                                         L"raise ",
                                         L"handled 3 ",
                                         L"read",
                                         L"\"a b\" ",
                                         L"\\n",
                                         L"\\x00e9",
                                         L"repeat:x:9",
                                         L"threads=2 ",
                                         L"rate=0 ",
                                         L"length=1000000 ",
                                         L"lines=5 ",
                                         L"text=a ",
                                         L"CreateFileW ",
                                         L"0 ",
                                         L"1 ",
                                         L"-1 ",
                                         L"256 ",
                                         L"0x80000000 ",
                                         L"4294967295 ",
                                         L"4294967296 ",
                                         L"-2147483649 ",
                                         L"18446744073709551616 ",
                                         L"r1 ",
                                         L"r2 ",
                                         L"# ",
                                         L"\n",
                                         L"\r\n"};

std::wstring Number(Random& random) {
    return random.OneIn(3) ? random.Pick({L"4294967295", L"0xFFFFFFFF", L"4294967296", L"x", L"-1",
                                          L"0", L"1", L"256", L"257"})
                           : std::to_wstring(random.Below(300));
}

std::wstring Name(Random& random) {
    return random.Pick({L"r1", L"r2", L"r3", L"Local\\go"});
}

std::wstring Calls(Random& random) {
    return random.Pick({L"1", L"2+", L"1-3", L"every", L"0", L"3-1"});
}

std::wstring Action(Random& random, int depth) {
    const auto then = [&] {
        return depth > 0 ? Action(random, depth - 1) : std::wstring(L"flush");
    };
    switch (random.Below(16)) {
        case 0:
            return L"return " + Number(random);
        case 1:
            return L"delay " + Number(random);
        case 2:
            return L"wait-event " + Name(random) + (random.OneIn(2) ? L"" : L" " + Number(random));
        case 3:
            return L"log " + random.Pick({L"trace", L"error", L"7", L"-1"}) + L" " +
                   random.Pick({L"null", L"default", L"own", L"\"a b\"", L"\"\""}) + L" " +
                   random.Pick({L"some text", L"null", L"repeat:x:9", L"\" a \"", L"\\x0041\\n"});
        case 4:
            return L"set-callback " + (random.OneIn(2) ? L"null" : then());
        case 5:
            return L"crash " +
                   random.Pick({L"read", L"raise 7", L"handled 3", L"handled 3 9", L"cpp", L"no"});
        case 6:
            return random.Pick({L"thread ", L"detached-thread "}) + then();
        case 7:
            return L"threads " + Number(random) + L" " + then();
        case 8:
            return L"after " + Number(random) + L" " + then();
        case 9:
            return L"when-event " + Name(random) + L" " + then();
        case 10:
            return L"repeat " + Number(random) + L" " + then();
        case 11:
            return L"call " + Name(random);
        case 12:
            return L"exit " + Number(random);
        default:
            return random.Pick({L"enable-stop", L"interrupt", L"flush", L"register",
                                L"com-init single", L"null-controller", L"remove-callback"});
    }
}

std::wstring Statement(Random& random) {
    switch (random.Below(8)) {
        case 0:
            return L"routine " + Name(random) + L" " + Action(random, 2);
        case 1:
            return L"fail-import CreateFileW " + Calls(random) + L" " + Number(random) +
                   random.Pick(
                       {L"", L" 0", L" -1", L" 0xFFFFFFFFFFFFFFFF", L" text=a", L" 1 text=b"});
        case 2:
            return L"before-import Sleep " + Calls(random) + L" " + Action(random, 2);
        case 3:
            return random.Pick({L"healthy", L"chatty", L"chatty threads=64 rate=0",
                                L"record-status", L"trace-import Sleep", L"transcript a b.txt",
                                L"# remark", L"", L"registrar-results -5 0x10",
                                L"fail-status 2+ 5"});
        default:
            return L"on " +
                   random.Pick(
                       {L"attach", L"create", L"load", L"activate", L"free", L"bootstrap"}) +
                   (random.OneIn(3) ? L":" + Calls(random) : L"") + L" " + Action(random, 3);
    }
}

/// Nested actions.
std::wstring DeepAction(Random& random) {
    std::wstring statement = L"on load ";
    for (std::size_t count = random.OneIn(4) ? 2000 : random.Between(60, 68); count != 0; --count) {
        statement += random.Pick({L"thread ", L"repeat 2 ", L"set-callback ", L"after 1 "});
    }
    return statement + L"flush\n";
}

Input Generate(Random& random) {
    std::wstring script = random.OneIn(100) ? DeepAction(random) : L"";
    for (std::size_t count = random.Below(5); count != 0; --count) {
        script += Statement(random) + random.Pick({L"\n", L"\n", L"\r\n", L" \t\n"});
    }
    return {script};
}

std::string Text(const ScriptOutcome& outcome) {
    return outcome.accepted ? "accepted with " + std::to_string(outcome.pointLines) + " lines, " +
                                  std::to_string(outcome.importRules) + " rules, " +
                                  std::to_string(outcome.routines) + " routines"
                            : "refused at line " + std::to_string(outcome.mistakeLine);
}

std::string CheckScript(const std::wstring& text) {
    const auto parsed = dev_controller::ParseScript(text);
    ScriptOutcome is;
    if (const auto* error = std::get_if<dev_controller::ScriptError>(&parsed)) {
        is.mistakeLine = error->line;
        if (error->message.empty()) {
            return "refused without a word";
        }
    } else {
        const auto& script = std::get<dev_controller::Script>(parsed);
        is = {true, 0, script.lines.size(), script.importRules.size(), script.routines.size()};
    }
    const ScriptOutcome expected = ModelOfScript(text);
    return is == expected ? "" : Text(is) + ", should be " + Text(expected);
}

/// A text from the transcript is valid in a script.
std::string CheckQuoting(const std::wstring& text) {
    const std::string quoted = dev_controller::QuotedUtf8(text);
    const std::optional<std::wstring> wide = dev_controller::WideFromUtf8(quoted);
    if (!wide) {
        return "a quoted text isn't UTF-8";
    }
    const auto parsed = dev_controller::ParseScript(L"on load log 0 null " + *wide);
    const auto* const script = std::get_if<dev_controller::Script>(&parsed);
    if (script == nullptr) {
        return "a quoted text isn't taken again";
    }
    const auto& line = std::get<dev_controller::LogLine>(script->lines.at(0).action.what);
    return line.text == text ? "" : "a quoted text comes back as another";
}

std::string Check(const Input& given) {
    const std::wstring text = given.empty() ? L"" : given[0];
    const std::string wrong = CheckScript(text);
    return wrong.empty() ? CheckQuoting(text) : wrong;
}

TEST(Fuzz, Script) {
    TryTarget({"script", Generate, Check, {Words, Characters, 20000, true}, 12000, 200000});
}

}  // namespace
}  // namespace fuzz
