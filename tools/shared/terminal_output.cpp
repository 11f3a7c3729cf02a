#include "tools/shared/terminal_output.h"

#include <string>

#include "framework/system/console.h"
#include "framework/system/platform.h"

namespace tools {
namespace {

bool IsTerminal() {
    constexpr DWORD VirtualTerminal = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return ::GetConsoleMode(output, &mode) != FALSE &&
           ::SetConsoleMode(output, mode | VirtualTerminal) != FALSE;
}

bool WriteBytes(HANDLE output, std::string_view bytes) {
    while (!bytes.empty()) {
        DWORD written = 0;
        if (::WriteFile(output, bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                        nullptr) == FALSE ||
            written == 0) {
            return false;
        }
        bytes.remove_prefix(written);
    }
    return true;
}

bool WriteTo(HANDLE output, std::wstring_view text) {
    DWORD written = 0;
    DWORD mode = 0;
    if (::GetConsoleMode(output, &mode) != FALSE) {
        constexpr std::size_t MostCharacters = 8 * 1024;  // consoles refuse more than some 30000
        bool isWritten = true;
        while (isWritten && !text.empty()) {
            const std::wstring_view part = text.substr(0, MostCharacters);
            isWritten = ::WriteConsoleW(output, part.data(), static_cast<DWORD>(part.size()),
                                        &written, nullptr) != FALSE;
            text.remove_prefix(part.size());
        }
        return isWritten;
    }
    return WriteBytes(output, framework::ToUtf8(text));
}

}  // namespace

bool WantsColor(ColorChoice choice) {
    switch (choice) {
        case ColorChoice::Always:
            return true;
        case ColorChoice::Never:
            return false;
        default:
            return ::GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) == 0 && IsTerminal();
    }
}

bool WriteOutput(std::wstring_view text) {
    return WriteTo(::GetStdHandle(STD_OUTPUT_HANDLE), text);
}

bool WriteOutputBytes(std::string_view bytes) {
    return WriteBytes(::GetStdHandle(STD_OUTPUT_HANDLE), bytes);
}

void WriteErrorText(std::wstring_view text) {
    static_cast<void>(WriteTo(::GetStdHandle(STD_ERROR_HANDLE), text));
}

void WriteError(std::wstring_view program, std::wstring_view text) {
    std::wstring line(program);
    line.append(L": ").append(text).append(L"\n");
    WriteErrorText(line);
}

}  // namespace tools
