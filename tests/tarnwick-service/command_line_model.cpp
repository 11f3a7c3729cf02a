#include "tests/tarnwick-service/command_line_model.h"

#include <cstdint>
#include <cwctype>

namespace test {
namespace {

std::wstring Lower(std::wstring text) {
    for (wchar_t& character : text) {
        if (character >= L'A' && character <= L'Z') {
            character = static_cast<wchar_t>(character + (L'a' - L'A'));
        }
    }
    return text;
}

/// Blanks, a sign, digits; the rest is ignored. Beyond 31 bits the nearest value.
std::uint32_t Number(const std::wstring& text) {
    std::size_t at = 0;
    while (at < text.size() && std::iswspace(text[at]) != 0) {
        ++at;
    }
    bool negative = false;
    if (at < text.size() && (text[at] == L'-' || text[at] == L'+')) {
        negative = text[at++] == L'-';
    }
    std::int64_t value = 0;
    while (at < text.size() && text[at] >= L'0' && text[at] <= L'9') {
        value = value * 10 + (text[at++] - L'0');
        if (value > 0x100000000) {
            value = 0x100000000;
        }
    }
    if (negative) {
        return value > 0x80000000 ? 0x80000000U : static_cast<std::uint32_t>(-value);
    }
    return value > 0x7FFFFFFF ? 0x7FFFFFFFU : static_cast<std::uint32_t>(value);
}

std::string Narrow(const std::wstring& text) {
    std::string narrow;
    for (const wchar_t character : text) {
        narrow += static_cast<char>(character);
    }
    return narrow;
}

}  // namespace

std::string ModelOfCommandLine(const std::vector<std::wstring>& arguments) {
    std::string mode = arguments.empty() ? "service" : "usage";
    std::string error;
    std::string dump = "none";
    bool test = false;
    bool logConsole = false;
    std::uint32_t seconds = 0;
    std::vector<std::wstring> rest = arguments;
    while (!rest.empty() && error.empty()) {
        const std::wstring argument = rest.front();
        rest.erase(rest.begin());
        if (argument.empty() || (argument[0] != L'-' && argument[0] != L'/')) {
            error = "Options should be started from '-' or '/'\n";
            continue;
        }
        const std::wstring option = Lower(argument.substr(1));
        if (option == L"run") {
            mode = "console";
        } else if (option == L"zevrunzip") {
            mode = "unpack";
        } else if (option == L"test") {
            test = true;
        } else if (option == L"log-console") {
            logConsole = true;
        } else if (option == L"sleep") {
            if (rest.empty()) {
                return "abnormal end";
            }
            seconds = Number(rest.front());
            rest.erase(rest.begin());
        } else if (option == L"dump") {
            if (rest.size() < 2) {
                error = "parameters for dump should be specified \n";
                continue;
            }
            mode = "dump";
            dump = Narrow(rest[0]) + "|" + Narrow(rest[1]) + "|" +
                   (rest.size() == 2 ? "null" : "'" + Narrow(rest[2]) + "'");
            rest.erase(rest.begin(), rest.begin() + (rest.size() == 2 ? 2 : 3));
        }
    }
    if (!error.empty()) {
        mode = "usage";
    }
    return mode + (test ? " test" : "") + (logConsole ? " log-console" : "") + " sleep " +
           std::to_string(seconds) + " dump " + dump + (error.empty() ? "" : " error " + error);
}

}  // namespace test
