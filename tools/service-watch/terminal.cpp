#include "tools/service-watch/terminal.h"

#include <string>

#include "framework/system/platform.h"

namespace service_watch {

namespace {

constexpr std::size_t FieldWidth = 13;

const char* EscapeSequence(Style style) noexcept {
    switch (style) {
        case Style::Bold:
            return "\x1b[1m";
        case Style::Red:
            return "\x1b[31m";
        case Style::Plain:
            break;
    }
    return "";
}

}  // namespace

void Terminal::Write(std::string_view text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    while (!text.empty()) {
        DWORD written = 0;
        if (!::WriteFile(output, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
            written == 0) {
            return;  // the reader is gone; the service is still stopped and removed
        }
        text.remove_prefix(written);
    }
}

void Terminal::Heading(std::string_view text) {
    Write(std::string("\n").append(Styled(Style::Bold, text)).append("\n\n"));
}

void Terminal::Field(std::string_view name, std::string_view value) {
    std::string line = "  " + std::string(name);
    line.append(name.size() < FieldWidth ? FieldWidth - name.size() : 1, ' ');
    Write(line.append(value).append("\n"));
}

std::string Terminal::Styled(Style style, std::string_view text) const {
    if (!color_ || style == Style::Plain) {
        return std::string(text);
    }
    return std::string(EscapeSequence(style)).append(text).append("\x1b[0m");
}

}  // namespace service_watch
