#ifndef TESTS_FRAMEWORK_LOGGER_LOG_RUN_H
#define TESTS_FRAMEWORK_LOGGER_LOG_RUN_H

#include <gtest/gtest.h>

#include <cstddef>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "framework/logger/logger.h"
#include "framework/logger/logger_config.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"

namespace test {

/// The fixed time of a `LogRun`, as in file names.
constexpr const wchar_t* RunTime = L"20201116-163012-345";

/// Bytes of a record whose message is empty: time, tag, component, a blank, a line feed.
constexpr std::size_t EmptyRecordSize = 70;

/// Rotates past 1000 bytes and compresses. No retention.
[[nodiscard]] framework::LoggerConfig RotatingConfig();

/// The same without compression.
[[nodiscard]] framework::LoggerConfig PlainConfig();

/// `RotatingConfig` with retention by the usual limits.
[[nodiscard]] framework::LoggerConfig RetentionConfig();

/// The logger, writing to a separate folder with a fixed clock. The first file has no header, so
/// that a test starts with a count of 0 bytes.
class LogRun {
  public:
    LogRun();

    /// Applies the settings except the directory.
    void Configure(framework::LoggerConfig config);
    /// The same with a directory of the test's choice.
    static void ConfigureIn(const std::wstring& directory, framework::LoggerConfig config);

    /// Shuts the logger down as process exit does, and creates it again.
    static void End() { FreshLogger::Renew(); }

    [[nodiscard]] const ScratchFolder& Folder() const noexcept { return folder_; }
    /// Full path of the plain file of a number.
    [[nodiscard]] std::wstring File(unsigned number) const;
    [[nodiscard]] static std::wstring Name(unsigned number);
    /// The records of a file: the plain one, or else the compressed one.
    [[nodiscard]] std::vector<std::wstring> Records(unsigned number) const;

  private:
    ScratchFolder folder_;
    ScopedHook<GetSystemTimeHook> clock_;
    FreshLogger logger_;
};

/// Replaces the creation of retention threads; the test framework starts threads of its own.
class RetentionThreadHook {
  public:
    explicit RetentionThreadHook(CreateThreadHook::Function replacement)
        : hook_([replacement = std::move(replacement)](SECURITY_ATTRIBUTES* attributes,
                                                       SIZE_T stack, LPTHREAD_START_ROUTINE routine,
                                                       void* argument, DWORD flags, DWORD* id) {
              return routine == &framework::RetentionThreadProc
                         ? replacement(attributes, stack, routine, argument, flags, id)
                         : CreateThreadHook::Real(attributes, stack, routine, argument, flags, id);
          }) {}

  private:
    ScopedHook<CreateThreadHook> hook_;
};

/// Logs a message at the trace level.
void LogMessage(const std::wstring& message);

/// Logs one record of exactly `bytes` bytes, which must be even, made of `filling`.
void LogBytes(std::size_t bytes, wchar_t filling = L'x');

/// What `LogBytes` writes, without its time.
[[nodiscard]] std::wstring RecordOfBytes(std::size_t bytes, wchar_t filling = L'x');

/// The header of a file, without the times.
[[nodiscard]] std::vector<std::wstring> HeaderRecords();

/// The header and the records after it.
[[nodiscard]] std::vector<std::wstring> HeaderAnd(const std::vector<std::wstring>& records);

/// The text on the debugger channel for a file that can't be created.
[[nodiscard]] std::wstring CreationText(const std::wstring& path, const std::wstring& error);

/// The text for a record without an open file.
constexpr const wchar_t* LostRecordText = L"Write operation failed, error: 6";

/// Names of the steps of a rotation, with the files that they concern, in their order.
class StepRecorder {
  public:
    void Add(const std::wstring& step) {
        const std::lock_guard guard(lock_);
        steps_.push_back(step);
    }
    [[nodiscard]] std::vector<std::wstring> Take() {
        const std::lock_guard guard(lock_);
        return std::exchange(steps_, {});
    }

  private:
    std::mutex lock_;
    std::vector<std::wstring> steps_;
};

/// A test with a `LogRun`.
class LogRunTest : public testing::Test {
  protected:
    [[nodiscard]] std::wstring File(unsigned number) const { return run_.File(number); }
    [[nodiscard]] std::vector<std::wstring> Names() const { return run_.Folder().Names(); }

    LogRun run_;
};

}  // namespace test

#endif  // TESTS_FRAMEWORK_LOGGER_LOG_RUN_H
