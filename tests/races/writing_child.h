#ifndef TESTS_RACES_WRITING_CHILD_H
#define TESTS_RACES_WRITING_CHILD_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/end-to-end/log_files/progress.h"
#include "tests/races/rounds.h"
#include "tests/support/scratch_folder.h"

namespace test {

constexpr std::uint32_t ChildMaxFileSize = 4000;
constexpr DWORD ChildLimitMs = 30000;

/// The folder and progress of a child process that writes numbered records, and the arguments from
/// which the child gets both: folder, name of the progress, seed and round.
class WritingChildPlace {
  public:
    explicit WritingChildPlace(const RaceRound& round);

    [[nodiscard]] std::vector<std::wstring> Arguments() const;
    [[nodiscard]] const ScratchFolder& Folder() const noexcept { return folder_; }
    /// The folder of only the log files.
    [[nodiscard]] std::filesystem::path Logs() const { return folder_.Path() / L"logs"; }
    [[nodiscard]] const Progress& Written() const noexcept { return progress_; }

  private:
    ScratchFolder folder_;
    std::wstring seed_;
    std::wstring number_;
    std::wstring name_;
    Progress progress_;
};

/// The child's side: parses the arguments and configures the logger.
struct WritingChild {
    explicit WritingChild(const std::vector<std::wstring>& arguments);

    std::filesystem::path folder;
    Progress progress;
    RaceRound round;
};

/// The `End` record can itself switch the file, or precede the last records of another thread.
/// Removes all `End` records and returns their number.
std::size_t TakeEndRecordsOut(std::map<unsigned, LogFileContent>& files);

}  // namespace test

#endif  // TESTS_RACES_WRITING_CHILD_H
