#include "tests/fuzz/input.h"

#include <cstddef>

namespace fuzz {
namespace {

constexpr std::string_view Digits = "0123456789ABCDEF";

void AppendCharacter(std::string& line, wchar_t character) {
    const auto code = static_cast<unsigned>(character);
    if (code >= 0x20 && code < 0x7F && character != L'"' && character != L'\\') {
        line += static_cast<char>(code);
        return;
    }
    line += "\\x";
    for (int shift = 12; shift >= 0; shift -= 4) {
        line += Digits[(code >> shift) & 0xF];
    }
}

void AppendText(std::string& line, const std::wstring& text) {
    constexpr std::size_t LeastRun = 8;
    line += '"';
    for (std::size_t index = 0; index < text.size();) {
        std::size_t end = text.find_first_not_of(text[index], index);
        end = end == std::wstring::npos ? text.size() : end;
        if (end - index < LeastRun) {
            end = index + 1;
        } else {
            line += "\\{" + std::to_string(end - index) + '}';
        }
        AppendCharacter(line, text[index]);
        index = end;
    }
    line += '"';
}

/// Reads from left to right. Remembers an error.
class Reader {
  public:
    explicit Reader(std::string_view line) : rest_(line) {}

    std::optional<Input> Read() {
        Input input;
        while (!rest_.empty() && !failed_) {
            if (Take("\"")) {
                input.push_back(Text());
            } else if (!Take(" ")) {
                failed_ = true;
            }
        }
        return failed_ ? std::nullopt : std::optional<Input>(input);
    }

  private:
    bool Take(std::string_view word) {
        if (!rest_.starts_with(word)) {
            return false;
        }
        rest_.remove_prefix(word.size());
        return true;
    }

    std::wstring Text() {
        std::wstring text;
        while (!failed_ && !Take("\"")) {
            const std::size_t count = Take("\\{") ? Number("}", 10) : 1;
            const wchar_t character = Character();
            constexpr std::size_t Longest = 1 << 24;
            failed_ = failed_ || count > Longest;
            text.append(failed_ ? 0 : count, character);
        }
        return text;
    }

    wchar_t Character() {
        if (Take("\\x")) {
            constexpr std::size_t Count = 4;
            const std::string digits(rest_.substr(0, Count));
            rest_.remove_prefix(digits.size());
            const std::string_view after = rest_;
            rest_ = digits;
            const auto code = static_cast<wchar_t>(Number("", 16));
            failed_ = failed_ || digits.size() != Count || !rest_.empty();
            rest_ = after;
            return code;
        }
        if (rest_.empty()) {
            failed_ = true;
            return 0;
        }
        const char character = rest_.front();
        rest_.remove_prefix(1);
        return static_cast<wchar_t>(static_cast<unsigned char>(character));
    }

    std::size_t Number(std::string_view end, unsigned base) {
        std::size_t number = 0;
        std::size_t count = 0;
        for (; !rest_.empty(); ++count) {
            const std::size_t digit = Digits.find(rest_.front());
            if (digit >= base || number > 0xFFFFFFF) {
                break;
            }
            number = number * base + digit;
            rest_.remove_prefix(1);
        }
        failed_ = failed_ || count == 0 || !Take(end);
        return number;
    }

    std::string_view rest_;
    bool failed_ = false;
};

}  // namespace

std::string Escaped(const Input& input) {
    std::string line;
    for (const std::wstring& text : input) {
        if (!line.empty()) {
            line += ' ';
        }
        AppendText(line, text);
    }
    return line;
}

std::optional<Input> FromEscaped(std::string_view line) {
    return Reader(line).Read();
}

std::wstring TextOfBytes(std::string_view bytes) {
    std::wstring text;
    for (const char byte : bytes) {
        text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
    }
    return text;
}

std::string BytesOfText(std::wstring_view text) {
    std::string bytes;
    for (const wchar_t character : text) {
        bytes += static_cast<char>(static_cast<unsigned char>(character & 0xFF));
    }
    return bytes;
}

}  // namespace fuzz
