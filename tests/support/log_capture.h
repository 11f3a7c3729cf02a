#ifndef TESTS_SUPPORT_LOG_CAPTURE_H
#define TESTS_SUPPORT_LOG_CAPTURE_H

#include <string>
#include <vector>

#include "framework/logger/logger_config.h"
#include "tests/support/scratch_folder.h"

namespace test {

/// A configuration with all levels, but without sinks, retention and rotation. A test turns on what
/// it needs.
[[nodiscard]] framework::LoggerConfig QuietConfig();

/// Gives the process a fresh logger, before and after the test: destroys the one object, which
/// shuts it down, and creates it again in the same place.
class FreshLogger {
  public:
    FreshLogger() { Renew(); }
    ~FreshLogger() { Renew(); }
    FreshLogger(const FreshLogger&) = delete;
    FreshLogger& operator=(const FreshLogger&) = delete;

    /// Shuts the logger down as process exit does, and creates it again.
    static void Renew();
};

/// Configures the logger to write to a separate file, and reads the records back.
class LogCapture {
  public:
    explicit LogCapture(framework::LoggerConfig config = QuietConfig());

    /// The records so far, each without its time and line feed: "[T][quillon] text". A message with
    /// line feeds is one entry.
    [[nodiscard]] std::vector<std::wstring> Lines() const;

    /// Ignores everything written so far.
    void Clear();

  private:
    [[nodiscard]] std::wstring Text() const;

    // Outlives the logger, because a folder with an open file can't be removed.
    ScratchFolder folder_;
    FreshLogger logger_;
    std::size_t cleared_ = 0;
};

/// Splits the text of a log into records and removes their times. Fails the test if a record has no
/// time.
[[nodiscard]] std::vector<std::wstring> SplitRecords(const std::wstring& text);

}  // namespace test

#endif  // TESTS_SUPPORT_LOG_CAPTURE_H
