/// How far writers of numbered records have come, kept where the end of their process doesn't reach
/// it, and the check of what such a process left.
#ifndef TESTS_END_TO_END_LOG_FILES_PROGRESS_H
#define TESTS_END_TO_END_LOG_FILES_PROGRESS_H

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "framework/system/unique_handle.h"
#include "tests/end-to-end/log_files/log_folder.h"

namespace test {

/// How many log calls of each thread have come back: memory that outlives the process that writes.
class Progress {
  public:
    static constexpr unsigned Threads = 4;

    /// The same name in another process means the same memory.
    explicit Progress(const std::wstring& name);

    [[nodiscard]] std::atomic<std::uint32_t>* Returned() const {
        return *static_cast<Counts*>(view_.get());
    }
    [[nodiscard]] std::uint32_t Total() const;

  private:
    using Counts = std::atomic<std::uint32_t>[Threads];
    struct Unmapper {
        void operator()(void* view) const { ::UnmapViewOfFile(view); }
    };

    framework::KernelHandle mapping_;
    std::unique_ptr<void, Unmapper> view_;
};

/// Fails the test unless the numbers have no gap and every file but the last is whole.
void CheckFilesBeforeTheLast(const std::map<unsigned, LogFileContent>& files);

/// Fails the test unless the files hold, of each thread, every record whose call has come back and
/// at most one more.
void CheckNothingLost(const std::map<unsigned, LogFileContent>& files, const Progress& progress);

}  // namespace test

#endif  // TESTS_END_TO_END_LOG_FILES_PROGRESS_H
