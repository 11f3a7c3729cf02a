#ifndef TESTS_SUPPORT_SCRATCH_FOLDER_H
#define TESTS_SUPPORT_SCRATCH_FOLDER_H

#include <filesystem>
#include <string>
#include <vector>

namespace test {

/// A separate folder for one test, removed with its contents at the end.
class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const noexcept { return path_; }
    /// The path with a trailing backslash, as the logger expects it.
    [[nodiscard]] std::wstring WithBackslash() const { return path_.wstring() + L'\\'; }
    /// The names in the folder that end in `suffix`, sorted.
    [[nodiscard]] std::vector<std::wstring> Names(const std::wstring& suffix = L"") const;

  private:
    std::filesystem::path path_;
};

/// All bytes of a file.
[[nodiscard]] std::string ReadBytes(const std::filesystem::path& path);
void WriteFileBytes(const std::filesystem::path& path, const std::string& bytes);

/// The text of a UTF-16 log file without its byte order mark. The mark must be there.
[[nodiscard]] std::wstring ReadLogText(const std::filesystem::path& path);

}  // namespace test

#endif  // TESTS_SUPPORT_SCRATCH_FOLDER_H
