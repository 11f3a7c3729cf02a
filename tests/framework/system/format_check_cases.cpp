// One formatted call per case. Only the last case, without a name, may compile. Not part of a test
// program: expect_compile_error.cmake runs the compiler on it.

#include <cstdint>
#include <string>

#include "framework/system/console.h"

void Call() {
    [[maybe_unused]] const std::wstring text = L"text";
    [[maybe_unused]] const char* narrow = "text";
    [[maybe_unused]] const std::uint64_t number64 = 1;
    [[maybe_unused]] const std::uint32_t number32 = 1;
    [[maybe_unused]] const std::uint16_t number16 = 1;
    [[maybe_unused]] int count = 0;
#if defined(CASE_STRING_OBJECT)
    framework::ConsolePrint(L"%s", text);
#elif defined(CASE_NARROW_TEXT)
    framework::ConsolePrint(L"%s", narrow);
#elif defined(CASE_NARROW_TEXT_SAID_TO_BE)
    framework::ConsolePrint(L"%hs", narrow);
#elif defined(CASE_NUMBER_AS_TEXT)
    framework::ConsolePrint(L"%s", number32);
#elif defined(CASE_TEXT_AS_NUMBER)
    framework::ConsolePrint(L"%lu", text.c_str());
#elif defined(CASE_NUMBER_TOO_WIDE)
    framework::ConsolePrint(L"%lu", number64);
#elif defined(CASE_NUMBER_TOO_NARROW)
    framework::ConsolePrint(L"%lu", number16);
#elif defined(CASE_NUMBER_AS_POINTER)
    framework::ConsolePrint(L"%p", number64);
#elif defined(CASE_SECOND_ARGUMENT)
    framework::ConsolePrint(L"%lu %s", number32, number32);
#elif defined(CASE_COUNT_OUTPUT)
    framework::ConsolePrint(L"%n", &count);
#elif defined(CASE_WIDTH_AS_ARGUMENT)
    framework::ConsolePrint(L"%*u", count, number32);
#elif defined(CASE_MISSING_ARGUMENT)
    framework::ConsolePrint(L"%s %lu", text.c_str());
#elif defined(CASE_LONE_PERCENT)
    framework::ConsolePrint(L"100%");
#elif defined(CASE_EXTRA_ARGUMENT)
    framework::ConsolePrint(L"%lu", number32, number32);
#else
    framework::ConsolePrint(L"no conversion, 100%%");
    framework::ConsolePrint(L"%s %ws %ls", text.c_str(), L"literal", text.c_str());
    framework::ConsolePrint(L"%lu %u %i %04hu %p", number32, number32, 5, number16, &count);
#endif
}
