/// The progress of writers of numbered records, stored where it survives the end of their process,
/// and checks of that process's files.
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

/// The number of returned log calls of each thread, in memory that survives the writing process.
class Progress {
  public:
    static constexpr unsigned Threads = 4;

    /// The same name in another process refers to the same memory.
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

/// Fails the test unless the numbers have no gap and every file but the last is complete.
void CheckFilesBeforeTheLast(const std::map<unsigned, LogFileContent>& files);

/// Fails the test unless the files contain, for each thread, every record whose call has returned
/// and at most one more.
void CheckNothingLost(const std::map<unsigned, LogFileContent>& files, const Progress& progress);

}  // namespace test

#endif  // TESTS_END_TO_END_LOG_FILES_PROGRESS_H
