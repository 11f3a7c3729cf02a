#include "tests/end-to-end/log_reader/flat_json.h"

#include <stdexcept>

namespace test {
namespace {

class FlatJsonParser {
  public:
    explicit FlatJsonParser(std::string_view text) : rest_(text) {}

    std::map<std::string, std::string> Parse() {
        std::map<std::string, std::string> object;
        Expect("{");
        do {
            const std::string name = Text();
            Expect(":");
            if (!object.emplace(name, Value()).second) {
                throw std::runtime_error("twice the name " + name);
            }
        } while (TryTake(","));
        Expect("}");
        if (!rest_.empty()) {
            throw std::runtime_error("more behind the object");
        }
        return object;
    }

  private:
    bool TryTake(std::string_view part) {
        if (!rest_.starts_with(part)) {
            return false;
        }
        rest_.remove_prefix(part.size());
        return true;
    }

    void Expect(std::string_view part) {
        if (!TryTake(part)) {
            throw std::runtime_error("no " + std::string(part) + " at " +
                                     std::string(rest_.substr(0, 20)));
        }
    }

    char Next() {
        if (rest_.empty()) {
            throw std::runtime_error("the text ends too early");
        }
        const char next = rest_.front();
        rest_.remove_prefix(1);
        return next;
    }

    std::string Value() {
        for (const char* word : {"true", "null"}) {
            if (TryTake(word)) {
                return word;
            }
        }
        std::string number;
        while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') {
            number += Next();
        }
        return number.empty() ? Text() : number;
    }

    std::string Text() {
        std::string text;
        Expect("\"");
        while (!TryTake("\"")) {
            const char next = Next();
            if (static_cast<unsigned char>(next) < ' ') {
                throw std::runtime_error("a control character");
            }
            text += next == '\\' ? Escaped() : next;
        }
        return text;
    }

    char Escaped() {
        constexpr int Hexadecimal = 16;
        switch (const char kind = Next()) {
            case '"':
            case '\\':
            case '/':
                return kind;
            case 'n':
                return '\n';
            case 'r':
                return '\r';
            case 't':
                return '\t';
            case 'u': {
                const std::string digits = {Next(), Next(), Next(), Next()};
                const int code = std::stoi(digits, nullptr, Hexadecimal);
                if (code < 0x80) {
                    return static_cast<char>(code);
                }
                [[fallthrough]];
            }
            default:
                throw std::runtime_error("an escape that isn't taken");
        }
    }

    std::string_view rest_;
};

}  // namespace

std::map<std::string, std::string> ParseFlatJson(std::string_view text) {
    return FlatJsonParser(text).Parse();
}

}  // namespace test
