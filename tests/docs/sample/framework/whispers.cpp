// The pieces of a text for the debugger channel. Never built into anything.

#include <string>

#include "framework/system/platform.h"

namespace test {

void TellDebugger(const std::wstring& path) {
    const std::wstring text = L"known whisper: " + path + L" , lost tail";
    ::OutputDebugStringW(text.c_str());
}

}  // namespace test
