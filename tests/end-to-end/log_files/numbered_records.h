/// Writers of numbered records, and checks of their files.
#ifndef TESTS_END_TO_END_LOG_FILES_NUMBERED_RECORDS_H
#define TESTS_END_TO_END_LOG_FILES_NUMBERED_RECORDS_H

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "framework/logger/logger_config.h"
#include "tests/end-to-end/log_files/log_folder.h"

namespace test {

/// The writing process isn't the checking one.
[[nodiscard]] framework::LoggerConfig NumberedRecordsConfig(const std::wstring& directory,
                                                            std::uint32_t maxFileSize);

/// The message of a record: with its own length and letters, so that mixed records show.
[[nodiscard]] std::wstring NumberedMessage(unsigned thread, std::uint32_t number);

/// Logs the records 0 to `count` - 1 of each thread, all threads at once. `returned[thread]` counts
/// the calls that have returned.
void WriteNumberedRecords(unsigned threads, std::uint32_t count,
                          std::atomic<std::uint32_t>* returned);

/// The number of records of each thread in the files. Fails the test if one is missing before the
/// last, is doubled, out of order or incomplete, or if there is a foreign record.
[[nodiscard]] std::vector<std::uint32_t> CountNumberedRecords(
    const std::map<unsigned, LogFileContent>& files, unsigned threads);

/// The number in an environment variable, or `otherwise`.
[[nodiscard]] std::uint32_t NumberFromEnvironment(const char* name, std::uint32_t otherwise);

}  // namespace test

#endif  // TESTS_END_TO_END_LOG_FILES_NUMBERED_RECORDS_H
