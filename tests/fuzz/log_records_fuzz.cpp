// The bytes of a log as quillon-log reads them, against a plain way to split them.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "tests/fuzz/calendar.h"
#include "tests/fuzz/target.h"
#include "tools/quillon-log/output.h"
#include "tools/quillon-log/record.h"

namespace fuzz {
namespace {

using quillon_log::Record;

const std::wstring Characters =
    L"[] \n\r\"\\:-0129ETWVq\t\x0001\x001F\x0085\x00E9\x2028\xFEFF\xD800"
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

/// A log's text, then the length of the pieces that it comes in as one character, then a letter:
/// 'm' for a byte order mark, 'h' for half a character at the end.
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

/// "20261120-183005-123" as a number.
std::uint64_t NumberOfStamp(std::wstring stamp) {
    std::erase(stamp, L'-');
    return std::stoull(stamp);
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
    return IsRealTime(NumberOfStamp(line.substr(1, 19)));
}

Record ModelOfRecordText(std::wstring text) {
    Record record;
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
    record.time = NumberOfStamp(text.substr(1, 19));
    record.level = text.substr(LevelBegin + 1, levelEnd - LevelBegin - 1);
    record.component = text.substr(levelEnd + 2, end - levelEnd - 2);
    record.message = text.substr(end + 2);
    return record;
}

/// Line by line: one that begins with a time begins a record, any other belongs to the one before.
std::vector<Record> ModelOfRecords(std::wstring text, bool mark) {
    if (!mark && text.starts_with(L'\xFEFF')) {
        text.erase(0, 1);
    }
    std::vector<std::wstring> records;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t feed = text.find(L'\n', begin);
        const std::size_t end = feed == text.npos ? text.size() : feed + 1;
        const std::wstring line = text.substr(begin, end - begin);
        if (records.empty() || BeginsWithTime(line)) {
            records.emplace_back();
        }
        records.back() += line;
        begin = end;
    }
    std::vector<Record> result;
    for (const std::wstring& record : records) {
        result.push_back(ModelOfRecordText(record));
    }
    return result;
}

std::vector<Record> ReadInPieces(const std::string& bytes, std::size_t length) {
    quillon_log::RecordParser parser;
    std::vector<Record> records;
    const auto add = [&records](const std::vector<Record>& more) {
        records.insert(records.end(), more.begin(), more.end());
    };
    for (std::size_t at = 0; at < bytes.size(); at += length) {
        add(parser.Take(std::string_view(bytes).substr(at, length)));
    }
    add(parser.Finish());
    return records;
}

std::string Text(const std::vector<Record>& records) {
    std::string text;
    for (const Record& record : records) {
        text += std::to_string(record.time) + (record.cut ? " cut " : " ") +
                Escaped({record.level, record.component, record.message}) + '\n';
    }
    return text;
}

/// Reads one JSON object whose values are texts or `true`, as strictly as the format is defined:
/// the names and values, or nothing if it is none.
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
        if (!takeText() || !take(L":") || !(take(L"true") || takeText())) {
            return std::nullopt;
        }
    } while (take(L","));
    return line.substr(at) == L"}\n" ? std::optional(parts) : std::nullopt;
}

std::wstring TimeInJson(quillon_log::TimePoint time) {
    std::wstring text = std::to_wstring(time);
    for (const auto& [at, sign] :
         {std::pair(14, L'.'), {12, L':'}, {10, L':'}, {8, L'T'}, {6, L'-'}, {4, L'-'}}) {
        text.insert(static_cast<std::size_t>(at), 1, sign);
    }
    return text + L'Z';
}

std::string CheckOutput(const Record& record) {
    std::vector<std::wstring> expected;
    if (record.time != 0) {
        expected = {L"time",      TimeInJson(record.time), L"level", record.level,
                    L"component", record.component};
    }
    expected.insert(expected.end(), {L"message", record.message});
    if (record.cut) {
        expected.emplace_back(L"cut");
    }
    const std::wstring json = quillon_log::ToJson(record);
    if (JsonParts(json) != std::optional(expected)) {
        return "wrong JSON line: " + Escaped({json});
    }
    return quillon_log::ToText(record, false).ends_with(L'\n') ? "" : "no line feed";
}

std::string Check(const Input& given) {
    Input input = given;
    input.resize(3);
    const std::string bytes = BytesOf(input);
    const std::size_t length = input[1].empty() || input[1][0] == 0 ? 1 : input[1][0];
    const std::vector<Record> records = ReadInPieces(bytes, length);
    const std::vector<Record> expected =
        ModelOfRecords(input[0], input[2].find(L'm') != std::wstring::npos);
    if (Text(records) != Text(expected)) {
        return "read:\n" + Text(records) + "should be:\n" + Text(expected);
    }
    for (const Record& record : records) {
        const std::string wrong = CheckOutput(record);
        if (!wrong.empty()) {
            return wrong;
        }
    }
    return "";
}

TEST(Fuzz, LogRecords) {
    TryTarget({"log-records", Generate, Check, {Words, Characters, 500, true}, 10000, 150000});
}

}  // namespace
}  // namespace fuzz
