#include "framework/logger/internal_trace.h"

#include <cwchar>
#include <string>

#include "framework/logger/logger.h"
#include "framework/logger/record_formatter.h"

namespace framework {
namespace {

LogLevel ToLogLevel(std::uint32_t level) {
    for (const LogLevel& known : {LevelError, LevelWarning, LevelTrace}) {
        if (level == known.Bit) {
            return known;
        }
    }
    return LevelVerbose;
}

constexpr const wchar_t* File = L"framework/logger/internal_trace";
constexpr const wchar_t* Function = L"FrameworkExternalLogCallbackDefault";

}  // namespace

void InternalTraceList(std::uint32_t level, const wchar_t* format, std::va_list args) {
    wchar_t usual[FirstMessageSize + 1];
    if (FormatUsualText(usual, format, args)) {
        FrameworkExternalLogCallback(level, usual);
        return;
    }
    std::wstring text;
    FormatText(text, format, args);
    FrameworkExternalLogCallback(level, text.c_str());
}

void InternalTraceUnchecked(std::uint32_t level, const wchar_t* format, ...) {
    std::va_list args;
    va_start(args, format);
    InternalTraceList(level, format, args);
    va_end(args);
}

void InternalTraceWithoutMemory(std::uint32_t level, const wchar_t* format, ...) noexcept {
    wchar_t usual[FirstMessageSize + 1];
    std::va_list args;
    va_start(args, format);
    const bool isUsual = FormatUsualText(usual, format, args);
    va_end(args);
    if (isUsual && std::wcslen(usual) < FirstMessageSize && std::wcschr(usual, L'%') == nullptr) {
        const LogLevel logLevel = ToLogLevel(level);
        Logger::Instance().LogWithoutMemory(
            logLevel.Bit, {logLevel.Tag, nullptr, File, Function, __LINE__}, usual);
    }
}

bool FrameworkExternalLogCallback(std::uint32_t level, const wchar_t* text) {
    return FrameworkExternalLogCallbackDefault(level, text);
}

bool FrameworkExternalLogCallbackDefault(std::uint32_t level, const wchar_t* text) {
    const LogLevel logLevel = ToLogLevel(level);
    return Logger::Instance().Log(logLevel.Bit, logLevel.Tag, nullptr, File, __LINE__, Function,
                                  RuntimeText{text});
}

}  // namespace framework
