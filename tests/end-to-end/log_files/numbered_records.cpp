#include "tests/end-to-end/log_files/numbered_records.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "framework/logger/logger.h"

namespace test {
namespace {

constexpr const wchar_t* RecordStart = L"[T][quillon] ";
constexpr const wchar_t* EndRecord = L"[T][quillon] End";
constexpr std::size_t HeaderRecords = 3;

void WriteThread(unsigned thread, std::uint32_t count, std::atomic<std::uint32_t>& returned) {
    for (std::uint32_t number = 0; number < count; ++number) {
        const std::wstring message = NumberedMessage(thread, number);
        framework::Logger::Instance().Log(4, L"T", nullptr, L"file", 1, L"function", L"%s",
                                          message.c_str());
        returned.store(number + 1);
    }
}

/// Takes one record for the next of its thread, or fails the test.
void Account(const std::wstring& record, std::vector<std::uint32_t>& counts) {
    unsigned thread = 0;
    if (std::swscanf(record.c_str(), L"[T][quillon] thread %u ", &thread) != 1 ||
        thread >= counts.size()) {
        ADD_FAILURE() << "a foreign record: " << testing::PrintToString(record);
        return;
    }
    const std::wstring expected = RecordStart + NumberedMessage(thread, counts[thread]);
    if (record != expected) {
        ADD_FAILURE() << "not the next record of its thread: " << testing::PrintToString(record);
        return;
    }
    ++counts[thread];
}

}  // namespace

framework::LoggerConfig NumberedRecordsConfig(const std::wstring& directory,
                                              std::uint32_t maxFileSize) {
    framework::LoggerConfig config;
    config.ComponentName = L"quillon";
    config.LogDirectory = directory;
    config.FilePrefix = L"quillon";
    config.BuildNumber = 804;
    config.MaxFileSize = maxFileSize;
    config.TraceLevelsMask = 7;
    config.LogToFile = true;
    config.DisableLogRetention = true;
    config.CompressRotatedLogs = true;
    return config;
}

std::wstring NumberedMessage(unsigned thread, std::uint32_t number) {
    const std::uint32_t mixed = (number + 1) * 2654435761U + thread * 40503U;
    return L"thread " + std::to_wstring(thread) + L" record " + std::to_wstring(number) + L' ' +
           std::wstring(mixed % 61, static_cast<wchar_t>(L'a' + mixed % 26));
}

void WriteNumberedRecords(unsigned threads, std::uint32_t count,
                          std::atomic<std::uint32_t>* returned) {
    std::vector<std::jthread> writers;
    for (unsigned thread = 0; thread < threads; ++thread) {
        writers.emplace_back([=] { WriteThread(thread, count, returned[thread]); });
    }
}

std::vector<std::uint32_t> CountNumberedRecords(const std::map<unsigned, LogFileContent>& files,
                                                unsigned threads) {
    std::vector<std::uint32_t> counts(threads, 0);
    for (const auto& [number, file] : files) {
        const bool isLast = number == files.rbegin()->first;
        for (std::size_t index = HeaderRecords; index < file.records.size(); ++index) {
            const bool mayBeEnd = isLast && index + 1 == file.records.size();
            if (!mayBeEnd || file.records[index] != EndRecord) {
                Account(file.records[index], counts);
            }
            if (testing::Test::HasFailure()) {
                return counts;
            }
        }
    }
    return counts;
}

std::uint32_t NumberFromEnvironment(const char* name, std::uint32_t otherwise) {
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise
                           : static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10));
}

}  // namespace test
