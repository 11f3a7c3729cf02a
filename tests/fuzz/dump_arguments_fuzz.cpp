// The three texts of the dump mode, and the process, thread and address that they become.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cwctype>
#include <optional>

#include "framework/exception/dump_writer.h"
#include "tests/fuzz/abnormal_end.h"
#include "tests/fuzz/target.h"
#include "tests/support/platform_hooks.h"

namespace fuzz {
namespace {

const std::wstring Characters = L"0123456789abcdefABCDEFxX+- \t\n\v\f\rgz%.\x00A0\x0436\xD800";

const std::vector<std::wstring> Words = {L"0",
                                         L"1234",
                                         L"4294967295",
                                         L"4294967296",
                                         L"-1",
                                         L"+7",
                                         L" 12",
                                         L"12 34",
                                         L"000000000021FDE0",
                                         L"FFFFFFFFFFFFFFFF",
                                         L"7FF612345678ABCD",
                                         L"0x21FDE0",
                                         L"deadBEEF",
                                         L"",
                                         L"x",
                                         L"0x",
                                         L"-"};

Input Generate(Random& random) {
    Input input(3);
    for (std::wstring& text : input) {
        text = random.OneIn(3) ? random.Text(Characters, 18) : random.Pick(Words);
    }
    // Sometimes the third one is missing, as after "-dump 1 2".
    input.resize(random.OneIn(10) ? 2 : 3);
    return input;
}

int DigitOf(wchar_t character, unsigned base) {
    const std::wstring digits = L"0123456789abcdef";
    const wchar_t small = character >= L'A' && character <= L'F'
                              ? static_cast<wchar_t>(character + (L'a' - L'A'))
                              : character;
    const std::size_t digit = digits.find(small);
    return digit < base ? static_cast<int>(digit) : -1;
}

/// Blanks, a sign, digits; the rest is ignored. Text without digits gives 0. No result for a number
/// of more than `bits` bits, and for "0x": run-time libraries differ there (Wine reads "0x12" as 0,
/// Windows as 0x12), and no caller relies on it.
std::optional<std::uint64_t> Scanned(const std::wstring& text, unsigned base, unsigned bits) {
    std::size_t at = 0;
    while (at < text.size() && std::iswspace(text[at]) != 0) {
        ++at;
    }
    bool negative = false;
    if (at < text.size() && (text[at] == L'-' || text[at] == L'+')) {
        negative = text[at++] == L'-';
    }
    const std::uint64_t most = ~std::uint64_t{0} >> (64 - bits);
    std::uint64_t number = 0;
    for (; at < text.size() && DigitOf(text[at], base) >= 0; ++at) {
        const auto digit = static_cast<std::uint64_t>(DigitOf(text[at], base));
        if (number > (most - digit) / base) {
            return std::nullopt;
        }
        number = number * base + digit;
    }
    if (base == 16 && number == 0 && at < text.size() && (text[at] == L'x' || text[at] == L'X')) {
        return std::nullopt;
    }
    return (negative ? 0 - number : number) & most;
}

/// The dump mode's requests to the platform.
struct Asked {
    std::uint64_t process = 0;
    std::uint64_t thread = 0;
    std::uint64_t pointers = 0;
    int dumps = 0;

    bool operator==(const Asked&) const = default;
    [[nodiscard]] std::string Text() const {
        return std::to_string(process) + ' ' + std::to_string(thread) + ' ' +
               std::to_string(pointers) + ", " + std::to_string(dumps) + " dumps";
    }
};

HANDLE SomeHandle(std::uintptr_t number) {
    return reinterpret_cast<HANDLE>(number);
}

/// Calls the dump mode on a platform where every call succeeds without effect.
bool Ask(const Input& input, Asked& asked) {
    const test::ScopedHook<test::OpenProcessHook> process([&](DWORD, BOOL, DWORD id) {
        asked.process = id;
        return SomeHandle(0x111110);
    });
    const test::ScopedHook<test::OpenThreadHook> thread([&](DWORD, BOOL, DWORD id) {
        asked.thread = id;
        return SomeHandle(0x111114);
    });
    const test::ScopedHook<test::CreateFileWHook> file(
        [](auto...) { return SomeHandle(0x111118); });
    const test::ScopedHook<test::CloseHandleHook> close([](HANDLE) { return TRUE; });
    const test::ScopedHook<test::ResumeThreadHook> resume([](HANDLE) { return DWORD{0}; });
    const test::ScopedHook<test::MiniDumpWriteDumpHook> dump(
        [&](HANDLE, DWORD, HANDLE, MINIDUMP_TYPE, MINIDUMP_EXCEPTION_INFORMATION* information,
            auto...) {
            // The record is packed, so references to its fields are not allowed.
            EXCEPTION_POINTERS* const pointers = information->ExceptionPointers;
            asked.pointers = reinterpret_cast<std::uintptr_t>(pointers);
            ++asked.dumps;
            return TRUE;
        });
    return EndsAbnormally([&] {
        static_cast<void>(framework::CreateDumpInOtherProcess(
            input[0].c_str(), input[1].c_str(), input.size() < 3 ? nullptr : input[2].c_str()));
    });
}

std::string Check(const Input& given) {
    Input input = given;
    input.resize(given.size() < 2 ? 2 : given.size() > 3 ? 3 : given.size());
    Asked asked;
    const bool ended = Ask(input, asked);
    if (ended || input.size() == 2) {
        return !ended              ? "no abnormal end over a null text"
               : input.size() == 3 ? "an abnormal end over three texts"
               : asked == Asked{}  ? ""
                                   : "asked before the abnormal end: " + asked.Text();
    }
    const Asked expected = {Scanned(input[0].c_str(), 10, 32).value_or(asked.process),
                            Scanned(input[1].c_str(), 10, 32).value_or(asked.thread),
                            Scanned(input[2].c_str(), 16, 64).value_or(asked.pointers), 1};
    return asked == expected ? "" : "asked " + asked.Text() + ", should be " + expected.Text();
}

TEST(Fuzz, DumpArguments) {
    framework::SetDumpTarget(L"C:\\some.dmp", 0);
    TryTarget({"dump-arguments", Generate, Check, {Words, Characters, 40, false}, 20000, 200000});
}

}  // namespace
}  // namespace fuzz
