#include "tests/framework/logger/log_run.h"

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "framework/logger/logger.h"
#include "tests/support/child_process.h"
#include "tests/support/gzip_reader.h"

namespace test {
namespace {

constexpr SYSTEMTIME StandingClock = {2020, 11, 1, 16, 16, 30, 12, 345};

std::wstring LogText(const std::string& bytes) {
    if (bytes.compare(0, 2, "\xFF\xFE") != 0) {
        throw std::runtime_error("no byte order mark");
    }
    std::wstring text((bytes.size() - 2) / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data() + 2, text.size() * sizeof(wchar_t));
    return text;
}

std::wstring TimeText(const SYSTEMTIME& time, const wchar_t* zone) {
    wchar_t text[64] = {};
    ::_snwprintf(text, 63, L"[T][quillon] %04hu.%02hu.%02hu %02hu:%02hu:%02hu %s", time.wYear,
                 time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, zone);
    return text;
}

}  // namespace

framework::LoggerConfig RotatingConfig() {
    framework::LoggerConfig config = QuietConfig();
    config.MaxFileSize = 1000;
    config.CompressRotatedLogs = true;
    return config;
}

framework::LoggerConfig PlainConfig() {
    framework::LoggerConfig config = RotatingConfig();
    config.CompressRotatedLogs = false;
    return config;
}

framework::LoggerConfig RetentionConfig() {
    framework::LoggerConfig config = RotatingConfig();
    config.DisableLogRetention = false;
    config.ExpiredPeriodInDays = 70;
    config.MaxLogFilesSize = 26214400;
    return config;
}

LogRun::LogRun() : clock_([](SYSTEMTIME* time) { *time = StandingClock; }) {}

void LogRun::Configure(framework::LoggerConfig config) {
    config.LogToFile = true;
    ConfigureIn(folder_.WithBackslash(), std::move(config));
}

void LogRun::ConfigureIn(const std::wstring& directory, framework::LoggerConfig config) {
    config.LogDirectory = directory;
    framework::Logger::Instance().Configure(std::move(config));
}

std::wstring LogRun::File(unsigned number) const {
    return folder_.WithBackslash() + Name(number);
}

std::wstring LogRun::Name(unsigned number) {
    return std::wstring(L"quillon-") + RunTime + L'.' + std::to_wstring(number) + L".log";
}

std::vector<std::wstring> LogRun::Records(unsigned number) const {
    const std::filesystem::path plain = File(number);
    if (std::filesystem::exists(plain)) {
        return SplitRecords(LogText(ReadBytes(plain)));
    }
    return SplitRecords(LogText(Gunzip(ReadBytes(plain.wstring() + L".gz"))));
}

void LogMessage(const std::wstring& message) {
    framework::Logger::Instance().Log(4, L"T", nullptr, L"file", 1, L"function", L"%s",
                                      message.c_str());
}

void LogBytes(std::size_t bytes, wchar_t filling) {
    LogMessage(std::wstring((bytes - EmptyRecordSize) / sizeof(wchar_t), filling));
}

std::wstring RecordOfBytes(std::size_t bytes, wchar_t filling) {
    return L"[T][quillon] " + std::wstring((bytes - EmptyRecordSize) / sizeof(wchar_t), filling);
}

std::vector<std::wstring> HeaderRecords() {
    SYSTEMTIME local = {};
    ::SystemTimeToTzSpecificLocalTime(nullptr, &StandingClock, &local);
    return {L"[T][quillon] build: 804, process: " + std::to_wstring(::GetCurrentProcessId()) +
                L", '" + OwnPath().wstring() + L"'",
            TimeText(StandingClock, L"UTC"), TimeText(local, L"LOCAL")};
}

std::vector<std::wstring> HeaderAnd(const std::vector<std::wstring>& records) {
    std::vector<std::wstring> all = HeaderRecords();
    all.insert(all.end(), records.begin(), records.end());
    return all;
}

std::wstring CreationText(const std::wstring& path, const std::wstring& error) {
    return L"Creation new file: " + path + L" , error: " + error;
}

}  // namespace test
