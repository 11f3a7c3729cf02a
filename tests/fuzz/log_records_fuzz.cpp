// The bytes of a log as quillon-log reads them, against a simple splitter.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "tests/fuzz/target.h"
#include "tools/quillon-log/output.h"
#include "tools/quillon-log/record.h"

namespace fuzz {
namespace {

using quillon_log::Record;
using quillon_log::TimePoint;

const std::wstring Characters =
    L"[] \n\r\"\\:-0129ETWVq\t\x0001\x001F\x007F\x0085\x00E9\x202E\x2066\x2028\xFEFF\xD800"
    L"\xDC00\xFFFF";

const std::vector<std::wstring> Words = {L"[20261120-183005-123]",
                                         L"[20261120-183005-124][T][quillon] ",
                                         L"[20240229-000000-000][E][heartbeat] text\n",
                                         L"[20230229-000000-000][W][x] text\n",
                                         L"[16010101-000000-000][V][] \n",
                                         L"[20261131-183005-123][T][q] ",
                                         L"[20261120-246005-123][T][q] ",
                                         L"[99991231-235959-999][T][q]",
                                         L"][",
                                         L"] ",
                                         L"\n[",
                                         L"\n"};

/// The text of a log, then one character with the length of the pieces, then a letter: 'm' for a
/// byte order mark, 'h' for half a character at the end.
Input Generate(Random& random) {
    std::wstring text;
    for (std::size_t count = random.Below(12); count != 0; --count) {
        text += random.OneIn(3) ? random.Text(Characters, 12) : random.Pick(Words);
    }
    return {text, std::wstring(1, static_cast<wchar_t>(random.Between(1, 60))),
            random.Text(L"mh", 2)};
}

std::string BytesOf(const Input& input) {
    std::string bytes;
    if (input[2].find(L'm') != std::wstring::npos) {
        bytes = "\xFF\xFE";
    }
    for (const wchar_t character : input[0]) {
        bytes += static_cast<char>(character & 0xFF);
        bytes += static_cast<char>((character >> 8) & 0xFF);
    }
    return input[2].find(L'h') == std::wstring::npos ? bytes : bytes + "q";
}

/// A record with its own texts.
struct Kept {
    std::optional<TimePoint> time;
    std::wstring level;
    std::wstring component;
    std::wstring message;
    bool cut = false;
};

/// "20261120-183005-123", if it is a valid time.
std::optional<TimePoint> TimeOfStamp(const std::wstring& stamp) {
    const auto number = [&stamp](std::size_t at, std::size_t size) {
        return static_cast<unsigned>(std::stoul(stamp.substr(at, size)));
    };
    const std::chrono::year_month_day day{std::chrono::year(static_cast<int>(number(0, 4))),
                                          std::chrono::month(number(4, 2)),
                                          std::chrono::day(number(6, 2))};
    if (!day.ok() || number(9, 2) > 23 || number(11, 2) > 59 || number(13, 2) > 59) {
        return std::nullopt;
    }
    return std::chrono::sys_days(day) + std::chrono::hours(number(9, 2)) +
           std::chrono::minutes(number(11, 2)) + std::chrono::seconds(number(13, 2)) +
           std::chrono::milliseconds(number(16, 3));
}

bool BeginsWithTime(const std::wstring& line) {
    const std::wstring shape = L"[dddddddd-dddddd-ddd]";
    if (line.size() < shape.size()) {
        return false;
    }
    for (std::size_t index = 0; index < shape.size(); ++index) {
        const bool isDigit = line[index] >= L'0' && line[index] <= L'9';
        if (shape[index] == L'd' ? !isDigit : line[index] != shape[index]) {
            return false;
        }
    }
    return TimeOfStamp(line.substr(1, 19)).has_value();
}

Kept ModelOfRecordText(std::wstring text) {
    Kept record;
    if (text.starts_with(L'\xFEFF')) {
        text.erase(0, 1);
    }
    record.cut = text.empty() || text.back() != L'\n';
    if (!record.cut) {
        text.pop_back();
    }
    record.message = text;
    constexpr std::size_t LevelBegin = 21;
    const std::size_t levelEnd = text.find(L']', LevelBegin + 1);
    const std::size_t end = levelEnd == text.npos ? text.npos : text.find(L"] ", levelEnd + 2);
    if (!BeginsWithTime(text) || text.substr(LevelBegin, 1) != L"[" || end == text.npos ||
        text[levelEnd + 1] != L'[') {
        return record;
    }
    record.time = TimeOfStamp(text.substr(1, 19));
    record.level = text.substr(LevelBegin + 1, levelEnd - LevelBegin - 1);
    record.component = text.substr(levelEnd + 2, end - levelEnd - 2);
    record.message = text.substr(end + 2);
    return record;
}

/// Line by line: a line with a time starts a record, any other line belongs to the record before.
std::vector<Kept> ModelOfRecords(const std::wstring& text) {
    std::vector<std::wstring> records;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t feed = text.find(L'\n', begin);
        const std::size_t end = feed == text.npos ? text.size() : feed + 1;
        const std::wstring line = text.substr(begin, end - begin);
        if (records.empty() || BeginsWithTime(line.substr(line.starts_with(L'\xFEFF') ? 1 : 0))) {
            records.emplace_back();
        }
        records.back() += line;
        begin = end;
    }
    std::vector<Kept> result;
    for (const std::wstring& record : records) {
        if (record != L"\xFEFF") {
            result.push_back(ModelOfRecordText(record));
        }
    }
    return result;
}

Kept Copy(const Record& record) {
    return {record.time, std::wstring(record.level), std::wstring(record.component),
            std::wstring(record.message), record.cut};
}

/// The error in the output of a record.
std::string CheckOutput(const Record& record);

std::vector<Kept> ReadInPieces(const std::string& bytes, std::size_t length, std::string& wrong) {
    quillon_log::RecordScanner scanner;
    std::vector<Kept> records;
    Record record;
    const auto take = [&] {
        records.push_back(Copy(record));
        wrong = wrong.empty() ? CheckOutput(record) : wrong;
    };
    scanner.Begin(0);
    for (std::size_t at = 0; at < bytes.size(); at += length) {
        const std::string_view piece = std::string_view(bytes).substr(at, length);
        std::copy(piece.begin(), piece.end(), scanner.Room(piece.size()));
        scanner.Added(piece.size());
        while (scanner.Next(record)) {
            take();
        }
    }
    while (scanner.Last(record)) {
        take();
    }
    return records;
}

std::string Text(const std::vector<Kept>& records) {
    std::string text;
    for (const Kept& record : records) {
        text += record.time ? std::to_string(record.time->time_since_epoch().count()) : "no time";
        text += (record.cut ? " cut " : " ") +
                Escaped({record.level, record.component, record.message}) + '\n';
    }
    return text;
}

/// Parses one JSON object whose values are texts, `true` or `null`, strictly by the format. Returns
/// names and values, or nothing if it isn't one.
std::optional<std::vector<std::wstring>> JsonParts(const std::wstring& line) {
    std::vector<std::wstring> parts;
    std::size_t at = 1;
    const auto take = [&](const std::wstring& word) {
        const bool there = line.compare(at, word.size(), word) == 0;
        at += there ? word.size() : 0;
        return there;
    };
    const auto takeText = [&] {
        parts.emplace_back();
        for (bool open = take(L"\""); open && at < line.size();) {
            const wchar_t character = line[at++];
            if (character == L'"') {
                return true;
            }
            if (character != L'\\') {
                open = character >= 0x20;
                parts.back() += character;
            } else if (take(L"u")) {
                parts.back() += static_cast<wchar_t>(std::stoi(line.substr(at, 4), nullptr, 16));
                at += 4;
            } else {
                const std::size_t known = std::wstring(L"\"\\/bfnrt").find(line[at++]);
                open = known != std::wstring::npos;
                parts.back() += open ? L"\"\\/\b\f\n\r\t"[known] : L' ';
            }
        }
        return false;
    };
    if (!line.starts_with(L"{")) {
        return std::nullopt;
    }
    do {
        if (!takeText() || !take(L":") ||
            !(take(L"true") || take(L"null") || take(L"0") || takeText())) {
            return std::nullopt;
        }
    } while (take(L","));
    return line.substr(at) == L"}\n" ? std::optional(parts) : std::nullopt;
}

bool CanChangeATerminal(wchar_t character) {
    static const std::wstring directions =
        L"\x061C\x200E\x200F\x202A\x202B\x202C\x202D\x202E\x2066\x2067\x2068\x2069";
    return character < L' ' || (character >= 0x7F && character < 0xA0) ||
           directions.find(character) != directions.npos;
}

std::string CheckOutput(const Record& record) {
    std::vector<std::wstring> expected;
    if (record.time) {
        std::wstring time;
        quillon_log::AppendTime(time, *record.time, L'T');
        expected = {L"time",      time + L'Z',
                    L"level",     std::wstring(record.level),
                    L"component", std::wstring(record.component)};
    }
    expected.insert(expected.end(), {L"message", std::wstring(record.message)});
    if (record.cut) {
        expected.emplace_back(L"cut");
    }
    expected.insert(expected.end(), {L"pid", L"file", L"", L"record", L"host", L""});
    quillon_log::TextStyle style;
    style.escape = true;
    quillon_log::RecordWriter writer(style);
    std::wstring json;
    writer.AppendJson(json, record, quillon_log::Origin());
    if (JsonParts(json) != std::optional(expected)) {
        return "wrong JSON line: " + Escaped({json});
    }
    std::wstring text;
    writer.AppendText(text, record, record.component);
    if (std::any_of(json.begin(), json.end() - 1, CanChangeATerminal)) {
        return "JSON that can change a terminal: " + Escaped({json});
    }
    std::erase(text, L'\t');
    const bool hasLineFeed = text.ends_with(L'\n');
    std::erase(text, L'\n');
    return std::any_of(text.begin(), text.end(), CanChangeATerminal)
               ? "text that can change a terminal: " + Escaped({text})
           : hasLineFeed ? ""
                         : "no line feed";
}

std::string Check(const Input& given) {
    Input input = given;
    input.resize(3);
    const std::string bytes = BytesOf(input);
    const std::size_t length = input[1].empty() || input[1][0] == 0 ? 1 : input[1][0];
    std::string wrong;
    const std::vector<Kept> records = ReadInPieces(bytes, length, wrong);
    const bool hasMark = input[2].find(L'm') != std::wstring::npos;
    const bool hasHalf = input[2].find(L'h') != std::wstring::npos;
    std::vector<Kept> expected = ModelOfRecords((hasMark ? L"\xFEFF" : L"") + input[0]);
    // Only the record that is cut by half a character shows it.
    if (hasHalf && !expected.empty()) {
        expected.back().cut = true;
    }
    if (Text(records) != Text(expected)) {
        return "read:\n" + Text(records) + "should be:\n" + Text(expected);
    }
    return wrong;
}

TEST(Fuzz, LogRecords) {
    TryTarget({"log-records", Generate, Check, {Words, Characters, 500, true}, 10000, 150000});
}

}  // namespace
}  // namespace fuzz
