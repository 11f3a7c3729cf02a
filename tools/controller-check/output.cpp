#include "tools/controller-check/output.h"

#include "framework/system/platform.h"

namespace controller_check {

void WriteError(const std::wstring& text) {
    const std::wstring line = L"controller-check: " + text + L"\n";
    const int length = static_cast<int>(line.size());
    std::string bytes(line.size() * 3, '\0');  // no character needs more
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, line.data(), length, bytes.data(),
                                           static_cast<int>(bytes.size()), nullptr, nullptr);
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), bytes.data(), static_cast<DWORD>(size), &written,
                nullptr);
}

bool OutputHasColor() {
    constexpr DWORD VirtualTerminal = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return ::GetConsoleMode(output, &mode) != FALSE &&
           ::SetConsoleMode(output, mode | VirtualTerminal) != FALSE;
}

}  // namespace controller_check
