#include "tests/fuzz/record_model.h"

#include <cstddef>

namespace fuzz {
namespace {

constexpr std::size_t LongestHead = 1023;
constexpr std::size_t LongestMessage = 16383;
constexpr std::size_t WidestField = 300;

/// One conversion, or a character that stands for itself (`type` is then 0, and "%%" is '%').
struct Piece {
    wchar_t type = 0;
    wchar_t character = 0;
    bool zeros = false;
    std::size_t width = 0;
};

std::optional<Piece> NextPiece(const std::wstring& format, std::size_t& at) {
    Piece piece;
    piece.character = format[at++];
    if (piece.character != L'%') {
        return piece;
    }
    if (at < format.size() && format[at] == L'%') {
        ++at;
        return piece;
    }
    piece.zeros = at < format.size() && format[at] == L'0';
    while (at < format.size() && format[at] >= L'0' && format[at] <= L'9') {
        piece.width = piece.width * 10 + static_cast<std::size_t>(format[at++] - L'0');
        if (piece.width > WidestField) {
            return std::nullopt;
        }
    }
    for (const wchar_t* form : {L"ws", L"ls", L"s", L"lu", L"hu", L"u", L"i", L"d", L"x", L"X"}) {
        const std::wstring_view name = form;
        if (format.compare(at, name.size(), name) == 0) {
            at += name.size();
            piece.type = name == L"hu" ? L'h' : name == L"i" ? L'd' : name.back();
            return piece;
        }
    }
    return std::nullopt;
}

std::wstring Digits(std::uint64_t number, unsigned base, bool capitals) {
    std::wstring digits;
    do {
        const auto digit = static_cast<unsigned>(number % base);
        const unsigned letter = (capitals ? L'A' : L'a') + digit - 10;
        digits.insert(digits.begin(), static_cast<wchar_t>(digit < 10 ? L'0' + digit : letter));
        number /= base;
    } while (number != 0);
    return digits;
}

std::wstring Printed(const Piece& piece, const std::wstring& argument) {
    const std::uint32_t number = NumberOf(argument);
    const bool negative = piece.type == L'd' && number > 0x7FFFFFFF;
    std::wstring text;
    switch (piece.type) {
        case L's':
            text = argument.c_str();
            break;
        case L'h':
            text = Digits(number & 0xFFFF, 10, false);
            break;
        case L'x':
        case L'X':
            text = Digits(number, 16, piece.type == L'X');
            break;
        default:
            text = Digits(negative ? 0x100000000 - number : number, 10, false);
            break;
    }
    const std::wstring sign = negative ? L"-" : L"";
    const std::size_t length = text.size() + sign.size();
    const std::size_t fill = piece.width > length ? piece.width - length : 0;
    return piece.zeros ? sign + std::wstring(fill, L'0') + text
                       : std::wstring(fill, L' ') + sign + text;
}

std::wstring Padded(unsigned number, std::size_t width) {
    std::wstring digits = Digits(number, 10, false);
    return digits.size() < width ? std::wstring(width - digits.size(), L'0') + digits : digits;
}

std::wstring Ended(std::wstring text) {
    return !text.empty() && text.back() == L'\n' ? text : text + L'\n';
}

}  // namespace

std::uint32_t NumberOf(const std::wstring& text) {
    std::uint32_t number = 0;
    bool decimal = false;
    for (const wchar_t character : text) {
        if (character < L'0' || character > L'9') {
            break;
        }
        decimal = true;
        number = number * 10 + static_cast<std::uint32_t>(character - L'0');
    }
    for (std::size_t index = 0; !decimal && index < text.size(); ++index) {
        number = number * 31 + text[index];
    }
    return number;
}

std::optional<std::wstring> ConversionsOf(const std::wstring& format) {
    std::wstring types;
    for (std::size_t at = 0; at < format.size();) {
        const std::optional<Piece> piece = NextPiece(format, at);
        if (!piece) {
            return std::nullopt;
        }
        if (piece->type != 0) {
            types += piece->type;
        }
    }
    return types;
}

std::wstring PrintedMessage(const RecordCall& call) {
    std::wstring message;
    std::size_t argument = 0;
    for (std::size_t at = 0; at < call.format.size();) {
        const Piece piece = NextPiece(call.format, at).value_or(Piece{});
        if (piece.type == 0) {
            message += piece.character;
        } else {
            message += Printed(piece, call.arguments.at(argument++));
        }
    }
    return message;
}

std::optional<std::wstring> ModelOfRecord(const RecordCall& call) {
    const SYSTEMTIME& time = call.time;
    const std::wstring head =
        L'[' + Padded(time.wYear, 4) + Padded(time.wMonth, 2) + Padded(time.wDay, 2) + L'-' +
        Padded(time.wHour, 2) + Padded(time.wMinute, 2) + Padded(time.wSecond, 2) + L'-' +
        Padded(time.wMilliseconds, 3) + L"][" + call.tag + L"][" + call.component + L"] ";
    std::wstring place;
    if (call.file) {
        place = L'[' + *call.file + L"(line " + Digits(call.line, 10, false) + L"): " +
                call.function + L"] ";
    }
    if (head.size() > LongestHead || place.size() > LongestHead) {
        return std::nullopt;
    }
    return Ended(head + place + PrintedMessage(call).substr(0, LongestMessage));
}

std::wstring ModelOfText(const RecordCall& call) {
    return Ended(PrintedMessage(call).substr(0, LongestMessage));
}

}  // namespace fuzz
