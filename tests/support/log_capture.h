#ifndef TESTS_SUPPORT_LOG_CAPTURE_H
#define TESTS_SUPPORT_LOG_CAPTURE_H

#include <string>
#include <vector>

#include "framework/logger/logger_config.h"
#include "tests/support/scratch_folder.h"

namespace test {

/// A configuration that touches nothing but what a test switches on: every level passes, no sink,
/// no retention, no rotation.
[[nodiscard]] framework::LoggerConfig QuietConfig();

/// Gives the process a logger as new, before and after: the one object is destroyed (which shuts it
/// down) and made again in its place.
class FreshLogger {
  public:
    FreshLogger() { Renew(); }
    ~FreshLogger() { Renew(); }
    FreshLogger(const FreshLogger&) = delete;
    FreshLogger& operator=(const FreshLogger&) = delete;

    /// Shuts the logger down as process exit does, and makes it anew.
    static void Renew();
};

/// Configures the one logger to write to a file of its own, and reads the records back.
class LogCapture {
  public:
    explicit LogCapture(framework::LoggerConfig config = QuietConfig());

    /// The records so far, each without its time: "[T][quillon] text". The line feed is left out;
    /// a message with line feeds in it gives one entry.
    [[nodiscard]] std::vector<std::wstring> Lines() const;

    /// Forgets what has been written up to now.
    void Clear();

  private:
    [[nodiscard]] std::wstring Text() const;

    // Outlives the logger: a folder with an open file in it can't be removed.
    ScratchFolder folder_;
    FreshLogger logger_;
    std::size_t cleared_ = 0;
};

/// Splits the text of a log into records and takes their time off. Fails the test if a record
/// doesn't begin with a time.
[[nodiscard]] std::vector<std::wstring> SplitRecords(const std::wstring& text);

}  // namespace test

#endif  // TESTS_SUPPORT_LOG_CAPTURE_H
