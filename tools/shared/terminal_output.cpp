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

bool WriteTo(HANDLE output, std::wstring_view text) {
    DWORD written = 0;
    DWORD mode = 0;
    if (::GetConsoleMode(output, &mode) != FALSE) {
        return ::WriteConsoleW(output, text.data(), static_cast<DWORD>(text.size()), &written,
                               nullptr) != FALSE;
    }
    const std::string bytes = framework::ToUtf8(text);
    return ::WriteFile(output, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) !=
           FALSE;
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

void WriteError(std::wstring_view program, std::wstring_view text) {
    std::wstring line(program);
    line.append(L": ").append(text).append(L"\n");
    static_cast<void>(WriteTo(::GetStdHandle(STD_ERROR_HANDLE), line));
}

}  // namespace tools
