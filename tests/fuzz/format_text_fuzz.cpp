// Finished texts that are formatted again: nothing may be read past them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

#include "framework/system/wide_format.h"
#include "tests/framework/system/guarded_block.h"
#include "tests/fuzz/target.h"

namespace fuzz {
namespace {

const std::wstring Characters =
    L"%%%%%%sdnSpcCxXuiofgeEGaAZ*.-+ #0123456789hlwILzjtqyKk\n\\:{}\x0436\x65E5\xD83D";
const std::vector<std::wstring> Words = {
    L"%s",          L"%n",   L"%%",  L"%",   L"%I64d",         L"%*.*s",
    L"%-+ #08.3lf", L"%I32", L"%wZ", L"%hn", L"%99999999999d", L"%.",
    L"%l"};

Input Generate(Random& random) {
    std::wstring text;
    for (std::size_t count = random.Below(8); count != 0; --count) {
        text += random.OneIn(2) ? random.Text(Characters, 8) : random.Pick(Words);
    }
    return {text};
}

/// The expected output: a conversion that would read an argument unchanged, one percent sign for
/// two, and none for one without a conversion.
std::wstring ModelOfPrinted(const std::wstring& text) {
    std::wstring printed;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != L'%') {
            printed += text[at++];
            continue;
        }
        std::size_t end = at + 1;
        for (const wchar_t* part :
             {L"-+ #0", L"*0123456789", L".", L"*0123456789", L"hlLwIjztT3264"}) {
            end = std::min(text.find_first_not_of(part, end), text.size());
        }
        const std::wstring type = text.substr(end, 1);
        if (text.substr(at + 1, 1) == L"%") {
            printed += L'%';
            at += 2;
        } else if (!type.empty() && type.find_first_of(L"diouxXeEfFgGaAcCsSpnZ") == 0) {
            printed += text.substr(at, end + 1 - at);
            at = end + 1;
        } else {
            ++at;
        }
    }
    return printed;
}

/// Text, format and arguments each end at an inaccessible page.
struct Blocks {
    test::GuardedBlock text;
    test::GuardedBlock format;
    test::GuardedBlock output;
    test::GuardedBlock arguments;
};

std::string Check(const Blocks& blocks, const Input& given) {
    // A conversion gets a second percent sign, so the format can grow by half.
    constexpr std::size_t Longest = test::GuardedBlock::Size / sizeof(wchar_t) * 2 / 3 - 1;
    const std::wstring text =
        given.empty() ? L"" : std::wstring(given[0].substr(0, Longest).c_str());
    const std::wstring format = framework::WithoutConversions(blocks.text.Place(text));
    wchar_t* const buffer = blocks.output.Last(text.size() + 1);
    const int length = framework::PrintCut(buffer, text.size() + 1, blocks.format.Place(format),
                                           static_cast<std::va_list>(blocks.arguments.End()));
    if (length < 0) {
        return "the printed text is longer than the text";
    }
    const std::wstring printed(buffer, static_cast<std::size_t>(length));
    const std::wstring expected = ModelOfPrinted(text);
    return printed == expected
               ? ""
               : "printed " + Escaped({printed}) + ", should be " + Escaped({expected});
}

TEST(Fuzz, FormatText) {
    const Blocks blocks;
    TryTarget({"format-text",
               Generate,
               [&blocks](const Input& input) { return Check(blocks, input); },
               {Words, Characters, 1500, true},
               40000,
               300000});
}

}  // namespace
}  // namespace fuzz
