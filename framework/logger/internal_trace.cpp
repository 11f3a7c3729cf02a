#include "framework/logger/internal_trace.h"

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

bool FrameworkExternalLogCallback(std::uint32_t level, const wchar_t* text) {
    return FrameworkExternalLogCallbackDefault(level, text);
}

bool FrameworkExternalLogCallbackDefault(std::uint32_t level, const wchar_t* text) {
    const LogLevel logLevel = ToLogLevel(level);
    return Logger::Instance().Log(logLevel.Bit, logLevel.Tag, nullptr,
                                  L"framework/logger/internal_trace", __LINE__,
                                  L"FrameworkExternalLogCallbackDefault", RuntimeText{text});
}

}  // namespace framework
