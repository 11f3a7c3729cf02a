// Command lines of the service host against a simple model of the grammar.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

#include "tarnwick-service/command_line.h"
#include "tests/fuzz/abnormal_end.h"
#include "tests/fuzz/target.h"
#include "tests/tarnwick-service/command_line_model.h"

namespace fuzz {
namespace {

// No digits of other scripts, because their handling is up to the run-time library.
const std::wstring Characters =
    L"-/runtestlogconsolsleepdumpzevrunzipRUNDSLP 0123456789+\t\n\v\f\r\x00A0\x0130\x0131\x017F"
    L"\x212A\xD800\xDC00";

const std::vector<std::wstring> Words = {L"-run",
                                         L"/run",
                                         L"-Test",
                                         L"-log-console",
                                         L"-sleep",
                                         L"/SLEEP",
                                         L"-dump",
                                         L"/Dump",
                                         L"-zevrunzip",
                                         L"--run",
                                         L"-",
                                         L"/",
                                         L"",
                                         L"-log_console",
                                         L"2147483647",
                                         L"2147483648",
                                         L"-2147483648",
                                         L"-2147483649",
                                         L"4294967296",
                                         L"99999999999999999999",
                                         L" 12",
                                         L"+7",
                                         L"0x10"};

Input Generate(Random& random) {
    Input arguments(random.Below(7));
    for (std::wstring& argument : arguments) {
        argument = random.OneIn(4) ? random.Text(Characters, 12) : random.Pick(Words);
    }
    return arguments;
}

std::string Narrow(const wchar_t* text) {
    std::string narrow;
    for (; *text != 0; ++text) {
        narrow += static_cast<char>(*text);
    }
    return narrow;
}

/// In the model's words.
std::string Describe(const tarnwick::CommandLine& line) {
    constexpr const char* Modes[] = {"usage", "service", "console", "dump", "unpack"};
    std::string text = Modes[static_cast<std::size_t>(line.mode)];
    text += line.test ? " test" : "";
    text += line.logConsole ? " log-console" : "";
    text += " sleep " + std::to_string(line.sleepSeconds) + " dump ";
    if (line.processIdText == nullptr || line.threadIdText == nullptr) {
        text += "none";
    } else {
        text += Narrow(line.processIdText) + "|" + Narrow(line.threadIdText) + "|";
        text += line.exceptionInformationText == nullptr
                    ? "null"
                    : "'" + Narrow(line.exceptionInformationText) + "'";
    }
    return text + (line.error == nullptr ? "" : " error " + Narrow(line.error));
}

/// An argument ends at its first null character, like one from the system.
std::vector<std::wstring> WithoutZeros(const Input& input) {
    std::vector<std::wstring> arguments;
    for (const std::wstring& text : input) {
        arguments.emplace_back(text.c_str());
    }
    return arguments;
}

std::string Check(const Input& input) {
    const std::vector<std::wstring> arguments = WithoutZeros(input);
    std::vector<const wchar_t*> pointers = {L"tarnwick-service.exe"};
    for (const std::wstring& argument : arguments) {
        pointers.push_back(argument.c_str());
    }
    pointers.push_back(nullptr);

    tarnwick::CommandLine line;
    const bool ended = EndsAbnormally([&] {
        line = tarnwick::ParseCommandLine(static_cast<int>(pointers.size()) - 1, pointers.data());
    });
    const std::string outcome = ended ? "abnormal end" : Describe(line);
    const std::string expected = test::ModelOfCommandLine(arguments);
    if (outcome != expected) {
        return "is \"" + outcome + "\", should be \"" + expected + "\"";
    }
    for (const wchar_t* text :
         {line.processIdText, line.threadIdText, line.exceptionInformationText}) {
        if (std::find(pointers.begin(), pointers.end(), text) == pointers.end()) {
            return "a dump text doesn't point into the argument vector";
        }
    }
    return "";
}

TEST(Fuzz, CommandLine) {
    TryTarget({"command-line", Generate, Check, {Words, Characters, 64, false}, 40000, 400000});
}

}  // namespace
}  // namespace fuzz
