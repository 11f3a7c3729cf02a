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

/// A folder and a progress for a child process that writes numbered records, and the arguments by
/// which the child finds both: the folder, the name of the progress, the seed and the round.
class WritingChildPlace {
  public:
    explicit WritingChildPlace(const RaceRound& round);

    [[nodiscard]] std::vector<std::wstring> Arguments() const;
    [[nodiscard]] const ScratchFolder& Folder() const noexcept { return folder_; }
    /// Where the log files are, and nothing else.
    [[nodiscard]] std::filesystem::path Logs() const { return folder_.Path() / L"logs"; }
    [[nodiscard]] const Progress& Written() const noexcept { return progress_; }

  private:
    ScratchFolder folder_;
    std::wstring seed_;
    std::wstring number_;
    std::wstring name_;
    Progress progress_;
};

/// The child's side: reads the arguments and configures the logger.
struct WritingChild {
    explicit WritingChild(const std::vector<std::wstring>& arguments);

    std::filesystem::path folder;
    Progress progress;
    RaceRound round;
};

/// The record of the end can itself switch the file, or stand before another thread's last ones.
/// Takes all of them out and returns how many there were.
std::size_t TakeEndRecordsOut(std::map<unsigned, LogFileContent>& files);

}  // namespace test

#endif  // TESTS_RACES_WRITING_CHILD_H
