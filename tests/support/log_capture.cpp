#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <memory>
#include <utility>

#include "framework/logger/logger.h"

namespace test {
namespace {

constexpr std::size_t TimeLength = 21;

/// "[20201116-163012-345]"
bool BeginsWithTime(const std::wstring& text, std::size_t position) {
    constexpr const wchar_t* Shape = L"[dddddddd-dddddd-ddd]";
    for (std::size_t index = 0; index < TimeLength; ++index) {
        if (position + index >= text.size()) {
            return false;
        }
        const wchar_t character = text[position + index];
        const bool fits = Shape[index] == L'd' ? character >= L'0' && character <= L'9'
                                               : character == Shape[index];
        if (!fits) {
            return false;
        }
    }
    return true;
}

}  // namespace

framework::LoggerConfig QuietConfig() {
    framework::LoggerConfig config;
    config.ComponentName = L"quillon";
    config.FilePrefix = L"quillon";
    config.BuildNumber = 804;
    config.TraceLevelsMask = 15;
    config.DisableLogRetention = true;
    return config;
}

void FreshLogger::Renew() {
    framework::Logger& logger = framework::Logger::Instance();
    std::destroy_at(&logger);
    std::construct_at(&logger);
}

LogCapture::LogCapture(framework::LoggerConfig config) {
    config.LogDirectory = folder_.WithBackslash();
    config.LogToFile = true;
    framework::Logger::Instance().Configure(std::move(config));
}

std::wstring LogCapture::Text() const {
    const std::vector<std::wstring> names = folder_.Names(L".log");
    EXPECT_EQ(names.size(), 1U) << "the capture needs one plain log file";
    return names.empty() ? std::wstring() : ReadLogText(folder_.Path() / names.front());
}

std::vector<std::wstring> LogCapture::Lines() const {
    return SplitRecords(Text().substr(cleared_));
}

void LogCapture::Clear() {
    cleared_ = Text().size();
}

std::vector<std::wstring> SplitRecords(const std::wstring& text) {
    std::vector<std::wstring> records;
    std::size_t position = 0;
    while (position < text.size()) {
        EXPECT_TRUE(BeginsWithTime(text, position)) << "no time at " << position;
        std::size_t end = text.find(L'\n', position);
        while (end != std::wstring::npos && end + 1 < text.size() &&
               !BeginsWithTime(text, end + 1)) {
            end = text.find(L'\n', end + 1);
        }
        if (end == std::wstring::npos) {
            ADD_FAILURE() << "the last record has no line feed";
            end = text.size();
        }
        const std::size_t begin = std::min(position + TimeLength, end);
        records.push_back(text.substr(begin, end - begin));
        position = end + 1;
    }
    return records;
}

}  // namespace test
