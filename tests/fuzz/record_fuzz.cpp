// Records and texts of the log against a second formatter.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "framework/logger/record_formatter.h"
#include "framework/system/wide_format.h"
#include "tests/fuzz/abnormal_end.h"
#include "tests/fuzz/record_model.h"
#include "tests/fuzz/target.h"
#include "tests/support/fixed_clock.h"

namespace fuzz {
namespace {

constexpr std::size_t MostArguments = 6;

const std::wstring Characters = L"ab %\r\n\tz0\x00E9\x0436\x65E5\xD800\xDC00\xFFFE\xFEFF\x001B[]";

const std::vector<std::wstring> Words = {
    L"%s", L"%ws",  L"%ls", L"%u",         L"%lu",        L"%i",      L"%d",
    L"%x", L"%08X", L"%hu", L"%5d",        L"%05d",       L"%9s",     L"%%",
    L"\n", L"\r\n", L"\r",  L"0",          L"1",          L"-1",      L"7",
    L"42", L"T",    L"E",   L"4294967295", L"2147483648", L"quillon", std::wstring(1, L'\0')};

/// Parts of a time, valid and invalid.
const std::wstring TimeParts = {0, 1, 9, 10, 99, 100, 999, 1000, 2026, 9999, 10000, 0xFFFF};

/// Lengths around every buffer size of the formatter, and others.
std::size_t Length(Random& random) {
    static const std::vector<std::size_t> limits = {1, 1024, 2048, 4096, 8192, 16384};
    if (random.OneIn(3)) {
        return random.Pick(limits) - 1 + random.Below(3);
    }
    return random.OneIn(8) ? random.Below(20000) : random.Below(40);
}

std::wstring LongText(Random& random) {
    std::wstring text = random.Text(Characters, 20);
    const std::size_t length = Length(random);
    text.resize(length, random.Character(L"abc"));
    if (random.OneIn(3)) {
        text += random.Pick({L"\n", L"\r", L"\r\n", L"\xD83D"});
    }
    return text;
}

std::wstring Format(Random& random) {
    std::wstring format;
    for (std::size_t count = random.Below(6); count != 0; --count) {
        format += random.OneIn(2) ? random.Pick(Words) : random.Text(Characters, 10);
    }
    return random.OneIn(4) ? format + LongText(random) : format;
}

std::wstring Name(Random& random) {
    return random.OneIn(20) ? std::wstring(random.Between(970, 1010), L'n')
                            : random.Text(Characters, 8);
}

/// Time, tag, component, file, function, line, format, arguments. The file "-" means none.
Input Generate(Random& random) {
    Input input = {random.Text(TimeParts, 8),
                   Name(random),
                   Name(random),
                   random.OneIn(2) ? L"-" : Name(random),
                   Name(random),
                   random.Text(L"0123456789", 10),
                   Format(random)};
    for (std::size_t count = MostArguments; count != 0; --count) {
        input.push_back(random.OneIn(2) ? LongText(random) : random.Pick(Words));
    }
    return input;
}

WORD TimePart(const std::wstring& text, std::size_t index) {
    return index < text.size() ? static_cast<WORD>(text[index]) : WORD{0};
}

/// Functions that take pointers see a text only up to its first null character.
std::wstring ToZero(const std::wstring& text) {
    return text.c_str();
}

/// A format that no caller could have written is used as plain text, with its percent signs
/// doubled.
std::wstring WritableFormat(const std::wstring& format) {
    const auto conversions = ConversionsOf(format);
    if (conversions && conversions->size() <= MostArguments) {
        return format;
    }
    std::wstring doubled;
    for (const wchar_t character : format) {
        doubled.append(character == L'%' ? 2U : 1U, character);
    }
    return doubled;
}

RecordCall CallOf(Input input) {
    constexpr std::size_t Texts = 7 + MostArguments;
    input.resize(Texts);
    RecordCall call;
    const std::wstring& time = input[0];
    call.time =
        test::Moment(TimePart(time, 0), TimePart(time, 1), TimePart(time, 2), TimePart(time, 3),
                     TimePart(time, 4), TimePart(time, 5), TimePart(time, 6));
    call.tag = ToZero(input[1]);
    call.component = ToZero(input[2]);
    if (input[3] != L"-") {
        call.file = ToZero(input[3]);
    }
    call.function = ToZero(input[4]);
    call.line = NumberOf(input[5]);
    call.format = WritableFormat(ToZero(input[6]));
    call.arguments.assign(input.begin() + 7, input.end());
    return call;
}

/// On this platform an argument list is an array of eight-byte slots.
class ArgumentList {
  public:
    explicit ArgumentList(const RecordCall& call) {
        const std::wstring conversions = ConversionsOf(call.format).value_or(L"");
        for (std::size_t index = 0; index < conversions.size(); ++index) {
            const std::wstring& argument = call.arguments[index];
            if (conversions[index] == L's') {
                const wchar_t* const text = argument.c_str();
                std::memcpy(&places_[index], &text, sizeof(text));
            } else {
                places_[index] = NumberOf(argument);
            }
        }
    }

    [[nodiscard]] std::va_list Get() { return reinterpret_cast<std::va_list>(places_.data()); }

  private:
    std::array<std::uint64_t, MostArguments> places_ = {};
};

std::string Difference(const std::wstring& is, const std::wstring& expected) {
    std::size_t at = 0;
    while (at < is.size() && at < expected.size() && is[at] == expected[at]) {
        ++at;
    }
    return "of " + std::to_string(is.size()) + " and " + std::to_string(expected.size()) +
           " characters, differing at " + std::to_string(at) + ": is " +
           Escaped({is.substr(at, 40)}) + ", should be " + Escaped({expected.substr(at, 40)});
}

std::string CheckRecord(const RecordCall& call) {
    const framework::RecordFormatter formatter = {call.file.has_value(), true};
    const std::wstring file = call.file.value_or(L"");
    const framework::RecordInfo info = {call.tag.c_str(), call.component.c_str(), file.c_str(),
                                        call.function.c_str(), call.line};
    ArgumentList arguments(call);
    std::wstring record = L"what stood there before";
    const test::FixedClock clock(call.time);
    const bool ended = EndsAbnormally(
        [&] { formatter.Format(record, info, call.format.c_str(), arguments.Get()); });
    const std::optional<std::wstring> expected = ModelOfRecord(call);
    if (ended || !expected) {
        return ended == !expected ? "" : ended ? "a record ends the process" : "no abnormal end";
    }
    return record == *expected ? "" : "record " + Difference(record, *expected);
}

std::string CheckText(const RecordCall& call) {
    ArgumentList arguments(call);
    std::wstring text = L"before ";
    framework::FormatText(text, call.format.c_str(), arguments.Get());
    const std::wstring expected = L"before " + ModelOfText(call);
    if (text != expected) {
        return "text " + Difference(text, expected);
    }
    const std::wstring whole = framework::PrintToString(call.format.c_str(), arguments.Get());
    const std::wstring message = PrintedMessage(call);
    return whole == message ? "" : "printed " + Difference(whole, message);
}

std::string Check(const Input& input) {
    const RecordCall call = CallOf(input);
    const std::string wrong = CheckRecord(call);
    return wrong.empty() ? CheckText(call) : wrong;
}

TEST(Fuzz, Record) {
    TryTarget({"record", Generate, Check, {Words, Characters, 20000, true}, 10000, 150000});
}

}  // namespace
}  // namespace fuzz
