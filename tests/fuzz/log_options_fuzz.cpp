// Arguments of quillon-log, names of log files and times that a person types, against tables.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <regex>

#include "tests/fuzz/calendar.h"
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

/// A time in each form, most of them real ones.
std::wstring Time(Random& random) {
    return random.Pick({L"today",
                        L"yesterday",
                        L"90s",
                        L"15m",
                        L"2h",
                        L"7d",
                        L"999999999d",
                        L"1x",
                        L"2024-02-29",
                        L"2023-02-29",
                        L"1601-01-01",
                        L"1600-12-31",
                        L"2024-04-31",
                        L"2024-02-29 23:59",
                        L"2024-02-29T23:59",
                        L"2024-02-29T24:00",
                        L"2024-12-31 00:00:59",
                        L"2024-12-31T00:00:60",
                        L"2024-12-31T00:60:00",
                        L"2024-03-01T12:34:56Z",
                        L"2024-03-01 12:34:56Z",
                        L"2024-03-01T12:34:56.789Z",
                        L"2024-03-01T12:34:56.789"});
}

Input Generate(Random& random) {
    Input arguments(random.Below(6));
    for (std::wstring& argument : arguments) {
        argument = random.OneIn(5) ? random.Text(Characters, 10) : random.Pick(Words);
    }
    if (random.OneIn(3)) {
        const auto place =
            arguments.begin() + static_cast<std::ptrdiff_t>(random.Below(arguments.size() + 1));
        arguments.insert(place, {random.Pick({L"--since", L"--until"}), Time(random)});
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

/// A number and a unit, in seconds.
std::optional<std::uint64_t> AgeOf(const std::wstring& text) {
    static const std::map<wchar_t, std::uint64_t> Units = {
        {L's', 1}, {L'm', 60}, {L'h', 3600}, {L'd', 86400}};
    static const std::wregex Shape(L"[0-9]{1,9}[smhd]");
    return std::regex_match(text, Shape) ? std::optional(std::stoull(text) * Units.at(text.back()))
                                         : std::nullopt;
}

/// A day, with or without a time of day; one that ends in a Z has a T and seconds.
std::optional<TimePoint> MomentOf(const std::wstring& text) {
    static const std::wregex Shape(
        L"([0-9]{4})-([0-9]{2})-([0-9]{2})"
        L"([ "
        L"T]([0-9]{2}):([0-9]{2})(:([0-9]{2}))?|T([0-9]{2}):([0-9]{2}):([0-9]{2})([.]([0-9]{3}))?Z)"
        L"?");
    if (!std::regex_match(text, Shape)) {
        return std::nullopt;
    }
    std::wstring digits = text;
    std::erase_if(digits, [](wchar_t sign) { return sign < L'0' || sign > L'9'; });
    constexpr std::size_t AllDigits = 17;
    digits.resize(AllDigits, L'0');
    const TimePoint time = std::stoull(digits);
    return IsRealTime(time) ? std::optional(time) : std::nullopt;
}

std::optional<TimePoint> ModelOfTime(const std::wstring& text) {
    constexpr TimePoint Today = 20240301000000000;
    constexpr TimePoint Yesterday = 20240229000000000;
    if (text == L"today" || text == L"yesterday") {
        return text == L"today" ? Today : Yesterday;
    }
    const std::optional<std::uint64_t> age = AgeOf(text);
    return age ? TimeBefore(Now, *age) : MomentOf(text);
}

/// Gives `value` to the option `what`; false if it doesn't take such a value.
bool Apply(Options& options, char what, const std::wstring& value) {
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
            options.filter.since = ModelOfTime(value);
            return options.filter.since.has_value();
        case 'u':
            options.filter.until = ModelOfTime(value);
            return options.filter.until.has_value();
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

std::string Describe(const std::optional<quillon_log::ParsedName>& parsed) {
    if (!parsed) {
        return "no log";
    }
    return Escaped({parsed->name.prefix}) + " of " + std::to_string(parsed->name.start) +
           ", number " + std::to_string(parsed->name.number) +
           (parsed->compressed ? ", compressed" : "");
}

std::optional<quillon_log::ParsedName> ModelOfName(const std::wstring& text) {
    static const std::wregex Shape(
        L"([^]*)-([0-9]{8})-([0-9]{6})-([0-9]{3})[.]0*([0-9]{1,10})[.]log([.]gz)?");
    std::wsmatch match;
    // Most texts are none, and the expression is slow.
    if (text.find(L".log") == text.npos || !std::regex_match(text, match, Shape)) {
        return std::nullopt;
    }
    const TimePoint start = std::stoull(match[2].str() + match[3].str() + match[4].str());
    const std::uint64_t number = std::stoull(match[5].str());
    if (!IsRealTime(start) || number > 0xFFFFFFFF) {
        return std::nullopt;
    }
    quillon_log::ParsedName parsed;
    parsed.name.prefix = match[1].str();
    parsed.name.start = start;
    parsed.name.number = static_cast<std::uint32_t>(number);
    parsed.compressed = match[6].matched;
    return parsed;
}

std::string CheckName(const std::wstring& text) {
    const std::string is = Describe(quillon_log::ParseLogName(text));
    const std::string expected = Describe(ModelOfName(text));
    return is == expected ? "" : "the name is " + is + ", should be " + expected;
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
