/// The programs under test in a separate folder, with a separate data folder.
///
///     test::HostFolder host;
///     host.Script("on activate return 5\n");
///     const auto process = host.Start(L"-run");
///     EXPECT_EQ(process->Wait(), 0U);
///     EXPECT_EQ(host.OnlyLog(), ...);
#ifndef TESTS_END_TO_END_SUPPORT_HOST_FOLDER_H
#define TESTS_END_TO_END_SUPPORT_HOST_FOLDER_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/end-to-end/support/transcript.h"
#include "tests/support/child_process.h"
#include "tests/support/scratch_folder.h"

namespace test {

class HostFolder {
  public:
    /// Copies tarnwick-service.exe, orrin-ctrl.dll and probe-plain.exe from the folder of the test
    /// program into a scratch folder, or into `subfolder` of it.
    explicit HostFolder(const std::wstring& subfolder = L"");

    /// The folder of the executable.
    [[nodiscard]] const std::filesystem::path& Path() const noexcept { return path_; }
    [[nodiscard]] std::filesystem::path Executable() const;
    [[nodiscard]] std::filesystem::path Library() const;
    /// ALLUSERSPROFILE of console runs. Empty until the first run.
    [[nodiscard]] std::filesystem::path DataFolder() const { return folder_.Path() / L"data"; }
    /// The log folder of console runs.
    [[nodiscard]] std::filesystem::path Logs() const;

    /// Writes the library's script (UTF-8) next to the library, where services find it too. A line
    /// that enables the transcript is added in front.
    void Script(const std::string& lines) const;
    [[nodiscard]] Transcript ReadTranscript() const;

    /// Starts the executable with the arguments unchanged.
    [[nodiscard]] std::unique_ptr<Child> Start(const std::wstring& arguments = L"",
                                               ChildOptions options = {}) const;

    /// The records of the only log file of this folder's console runs, without their times. Fails
    /// the test unless there is exactly one.
    [[nodiscard]] std::vector<std::wstring> OnlyLog() const;

    /// A name for an event shared by script and test, different for each folder.
    [[nodiscard]] std::string EventName(const std::string& suffix = "event") const;

  private:
    ScratchFolder folder_;
    std::filesystem::path path_;
};

/// An event with the name `host.EventName(suffix)` in the script of `host`.
class SharedEvent {
  public:
    explicit SharedEvent(const HostFolder& host, const std::string& suffix = "event");

    [[nodiscard]] const std::string& Name() const noexcept { return name_; }
    void Set() const;
    /// False if it isn't set within the limit.
    [[nodiscard]] bool Wait(DWORD limitMs = 30000) const;

  private:
    std::string name_;
    framework::KernelHandle event_;
};

/// The folder of the test program, which also has the programs under test.
[[nodiscard]] std::filesystem::path ProductFolder();

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_HOST_FOLDER_H
