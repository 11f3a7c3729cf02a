// One log call per case. Not part of a test program: only the compiler is run on it. Only FITTING
// and FILTERED may compile.

#include <cstdint>
#include <string>

#include "framework/logger/internal_trace.h"
#include "framework/logger/log_line.h"

constexpr framework::LogSite Site = {L"file", L"function"};

#if defined(CASE_FILTERED)
// The cost of a filtered call is measured in this function's machine code.
extern "C" void FilteredCall(const wchar_t* text) {
    framework::LogTrace(Site, L"%s", text);
}
#else
void Call() {
    [[maybe_unused]] const std::wstring text = L"text";
    [[maybe_unused]] const wchar_t* format = text.c_str();
    [[maybe_unused]] const char* narrow = "text";
    [[maybe_unused]] const std::uint32_t number = 1;
    [[maybe_unused]] framework::Logger& logger = framework::Logger::Instance();
#if defined(CASE_LOG_STRING_OBJECT)
    logger.Log(4, L"T", nullptr, L"file", 1, L"function", L"%s", text);
#elif defined(CASE_LOG_NARROW_TEXT)
    logger.Log(4, L"T", nullptr, L"file", 1, L"function", L"%s", narrow);
#elif defined(CASE_LOG_MISSING_ARGUMENT)
    logger.Log(4, L"T", nullptr, L"file", 1, L"function", L"%lu %lu", number);
#elif defined(CASE_LOG_UNCHECKED_FORMAT)
    logger.Log(4, L"T", nullptr, L"file", 1, L"function", format);
#elif defined(CASE_TRACE_STRING_OBJECT)
    framework::InternalTrace(4, L"%s", text);
#elif defined(CASE_TRACE_NARROW_TEXT)
    framework::InternalTrace(4, L"%s", narrow);
#elif defined(CASE_TRACE_UNCHECKED_FORMAT)
    framework::InternalTrace(4, format);
#elif defined(CASE_LINE_STRING_OBJECT)
    framework::LogError(Site, L"%s", text);
#elif defined(CASE_LINE_NARROW_TEXT)
    framework::LogError(Site, L"%s", narrow);
#else
    logger.Log(4, L"T", nullptr, L"file", 1, L"function", L"%s", text.c_str());
    logger.Log(4, L"T", L"component", L"file", 1, L"function", L"%lu %lu", number, number);
    logger.Log(4, L"T", nullptr, L"file", 1, L"function", framework::RuntimeText{format});
    framework::InternalTrace(4, L"%s", text.c_str());
    framework::LogError(Site, L"%s", text.c_str());
#endif
}
#endif
