// Arguments of quillon-log, names of log files and times that a person types, against tables.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>

#include "tests/fuzz/target.h"
#include "tools/quillon-log/log_name.h"
#include "tools/quillon-log/options.h"

namespace fuzz {
namespace {

using quillon_log::Options;
using quillon_log::TimePoint;

constexpr TimePoint Now = 20240301123456789;

const std::vector<std::wstring> Words = {L"-f",
                                         L"--follow",
                                         L"-n",
                                         L"--lines",
                                         L"-l",
                                         L"--level",
                                         L"-c",
                                         L"--component",
                                         L"-g",
                                         L"--grep",
                                         L"--since",
                                         L"--until",
                                         L"--json",
                                         L"--color",
                                         L"--colour",
                                         L"-h",
                                         L"--help",
                                         L"--lines=3",
                                         L"-n5",
                                         L"-fn",
                                         L"-fh",
                                         L"-lE",
                                         L"--level=warning",
                                         L"--json=1",
                                         L"=",
                                         L"--",
                                         L"-",
                                         L"",
                                         L"auto",
                                         L"always",
                                         L"never",
                                         L"error",
                                         L"w",
                                         L"TRACE",
                                         L"Verbose",
                                         L"0",
                                         L"999999999",
                                         L"1000000000",
                                         L"2024-02-29",
                                         L"2023-02-29",
                                         L"2024-02-29 23:59",
                                         L"today",
                                         L"yesterday",
                                         L"90s",
                                         L"15m",
                                         L"2h",
                                         L"7d",
                                         L"999999999d",
                                         L"d",
                                         L"2024-03-01T12:34:56Z",
                                         L"2024-03-01T12:34:56.789Z",
                                         L"C:\\logs",
                                         L"quillon-20261120-183005-123.7.log",
                                         L"quillon-20261120-183005-123.7.log.gz",
                                         L"-20261120-183005-123.4294967295.log",
                                         L"a-20261120-183005-123.4294967296.log",
                                         L".log",
                                         L".gz"};
const std::wstring Characters = L"-=fnlcghEWTV 0123456789:TZ.smhdlog\\\x00E9\x212A\xD800";

Input Generate(Random& random) {
    Input arguments(random.Below(6));
    for (std::wstring& argument : arguments) {
        argument = random.OneIn(5) ? random.Text(Characters, 10) : random.Pick(Words);
    }
    return arguments;
}

/// What an option does; a letter each, so that the table reads like the help text.
const std::map<std::wstring, char> Table = {
    {L"-f", 'f'},      {L"--follow", 'f'}, {L"-h", 'h'},          {L"--help", 'h'},
    {L"--json", 'j'},  {L"-n", 'n'},       {L"--lines", 'n'},     {L"-l", 'l'},
    {L"--level", 'l'}, {L"-c", 'c'},       {L"--component", 'c'}, {L"-g", 'g'},
    {L"--grep", 'g'},  {L"--since", 's'},  {L"--until", 'u'},     {L"--color", 'w'},
    {L"--colour", 'w'}};

bool IsSwitch(char what) {
    return what == 'f' || what == 'h' || what == 'j';
}

std::wstring Lower(std::wstring text) {
    for (wchar_t& character : text) {
        character = character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character + 32)
                                                           : character;
    }
    return text;
}

std::optional<int> LevelOf(const std::wstring& text) {
    const std::wstring name = Lower(text);
    const std::vector<std::wstring> names = {L"e", L"error", L"w", L"warning",
                                             L"t", L"trace", L"v", L"verbose"};
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? std::nullopt
                                : std::optional(static_cast<int>(found - names.begin()) / 2);
}

/// Gives `value` to the option `what`; false if it doesn't take such a value.
bool Apply(Options& options, char what, const std::wstring& value) {
    const std::optional<TimePoint> time = quillon_log::ParseTime(value, Now);
    switch (what) {
        case 'n':
            if (value.empty() || value.size() > 9 ||
                !std::all_of(value.begin(), value.end(),
                             [](wchar_t digit) { return digit >= L'0' && digit <= L'9'; })) {
                return false;
            }
            options.lastRecords = std::stoul(value);
            return true;
        case 'l':
            options.filter.leastLevel = LevelOf(value);
            return options.filter.leastLevel.has_value();
        case 'c':
            options.filter.components.push_back(value);
            return true;
        case 'g':
            options.filter.text = value;
            return true;
        case 's':
            options.filter.since = time;
            return time.has_value();
        case 'u':
            options.filter.until = time;
            return time.has_value();
        default:
            options.color = value == L"always"  ? quillon_log::ColorChoice::Always
                            : value == L"never" ? quillon_log::ColorChoice::Never
                                                : quillon_log::ColorChoice::WhenTerminal;
            return value == L"always" || value == L"never" || value == L"auto";
    }
}

/// First every argument is taken apart into options with what is attached to them, then each is
/// done. Nothing for a wrong command line.
std::optional<Options> ModelOfOptions(const Input& arguments) {
    Options options;
    bool folder = false;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::wstring& argument = arguments[index];
        if (argument.size() < 2 || argument[0] != L'-') {
            if (folder) {
                return std::nullopt;
            }
            folder = true;
            options.folder = argument;
            continue;
        }
        const bool isLong = argument[1] == L'-';
        const std::size_t equals = isLong ? argument.find(L'=') : argument.npos;
        std::wstring rest = isLong ? L"" : argument.substr(1);
        do {
            const std::wstring name =
                isLong ? argument.substr(0, equals) : L"-" + rest.substr(0, 1);
            rest.erase(0, 1);
            const auto found = Table.find(name);
            const bool hasValue = isLong ? equals != argument.npos : !rest.empty();
            if (found == Table.end() || (isLong && IsSwitch(found->second) && hasValue)) {
                return std::nullopt;
            }
            options.follow = options.follow || found->second == 'f';
            options.help = options.help || found->second == 'h';
            options.json = options.json || found->second == 'j';
            if (IsSwitch(found->second)) {
                continue;
            }
            if (!hasValue && ++index == arguments.size()) {
                return std::nullopt;
            }
            const std::wstring value = !hasValue ? arguments[index]
                                       : isLong  ? argument.substr(equals + 1)
                                                 : rest;
            if (!Apply(options, found->second, value)) {
                return std::nullopt;
            }
            break;
        } while (!rest.empty());
    }
    return options;
}

std::string Describe(const std::optional<Options>& options) {
    if (!options) {
        return "refused";
    }
    const quillon_log::RecordFilter& filter = options->filter;
    Input texts = filter.components;
    texts.insert(texts.begin(), {options->folder, filter.text});
    return Escaped(texts) + (options->follow ? " follow" : "") + (options->json ? " json" : "") +
           (options->help ? " help" : "") + " lines " +
           (options->lastRecords ? std::to_string(*options->lastRecords) : "all") + " level " +
           std::to_string(filter.leastLevel.value_or(-1)) + " since " +
           std::to_string(filter.since.value_or(0)) + " until " +
           std::to_string(filter.until.value_or(0)) + " color " +
           std::to_string(static_cast<int>(options->color));
}

std::string CheckOptions(const Input& arguments) {
    const auto parsed = quillon_log::ParseOptions(arguments, Now);
    const auto* const error = std::get_if<quillon_log::OptionError>(&parsed);
    if (error != nullptr && error->text.empty()) {
        return "refused without a word";
    }
    const auto* const options = std::get_if<Options>(&parsed);
    const std::string is = Describe(options == nullptr ? std::nullopt : std::optional(*options));
    const std::string expected = Describe(ModelOfOptions(arguments));
    return is == expected ? "" : "is " + is + ", should be " + expected;
}

/// A name that is taken must be what its parts make.
std::string CheckName(const std::wstring& text) {
    const auto parsed = quillon_log::ParseLogName(text);
    if (!parsed) {
        return "";
    }
    std::wstring stamp = std::to_wstring(parsed->name.start);
    stamp.insert(14, 1, L'-');
    stamp.insert(8, 1, L'-');
    const std::wstring number = std::to_wstring(parsed->name.number);
    const std::wstring head = parsed->name.prefix + L"-" + stamp + L".";
    const std::wstring tail = parsed->compressed ? L".log.gz" : L".log";
    std::wstring digits;
    if (text.starts_with(head) && text.ends_with(tail) && text.size() > head.size() + tail.size()) {
        digits = text.substr(head.size(), text.size() - head.size() - tail.size());
    }
    // A number may have zeros in front.
    while (digits.size() > 1 && digits.front() == L'0') {
        digits.erase(0, 1);
    }
    return digits == number ? "" : "a name taken for " + Escaped({head + number + tail});
}

std::string Check(const Input& arguments) {
    for (const std::wstring& argument : arguments) {
        const std::string wrong = CheckName(argument);
        if (!wrong.empty()) {
            return wrong;
        }
    }
    return CheckOptions(arguments);
}

TEST(Fuzz, LogOptions) {
    TryTarget({"log-options", Generate, Check, {Words, Characters, 200, false}, 30000, 250000});
}

}  // namespace
}  // namespace fuzz
