#ifndef TOOLS_QUILLON_LOG_FOLDER_H
#define TOOLS_QUILLON_LOG_FOLDER_H

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/quillon-log/time_point.h"

namespace quillon_log {

/// Operand and file name of standard input.
constexpr std::wstring_view StandardInputName = L"-";

/// One start of a process that logs. Two processes can start in the same millisecond, with
/// different prefixes.
struct RunKey {
    TimePoint start{};
    std::uint32_t prefix = 0;  ///< an index into the folder's prefixes

    // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the comparison's zero for a pointer
    auto operator<=>(const RunKey&) const = default;
};

/// One log of a run. It exists as a plain file, as a compressed one, or as both: while it is being
/// compressed, and after that has failed. Small, since a folder can hold very many.
struct LogFile {
    RunKey run;
    std::uint32_t number = 0;
    bool plain = false;
    bool compressed = false;
    std::uint64_t size = 0;  ///< in bytes; of the plain file if there are both
    TimePoint written{};     ///< last write; of the plain file if there are both
};

/// The logs of one operand of the command line: of a folder, or one or more files.
class Folder {
  public:
    /// All logs of a folder.
    explicit Folder(std::wstring path);
    /// The named files of one folder and no others.
    Folder(std::wstring path, const std::vector<std::wstring>& names);
    /// The named file, which is shown under another name.
    Folder(std::wstring path, const std::wstring& name, std::wstring shownName)
        : Folder(std::move(path), {name}) {
        shownName_ = std::move(shownName);
    }

    /// Lists the folder anew; files that were named stay as they are. False if it can't be read.
    bool Refresh();

    [[nodiscard]] const std::wstring& Path() const noexcept { return path_; }
    /// By run, then by number.
    [[nodiscard]] const std::vector<LogFile>& Files() const noexcept { return files_; }
    /// First and last index of a run's files; nothing if it has none (any more).
    [[nodiscard]] std::optional<std::pair<std::size_t, std::size_t>> FilesOf(RunKey run) const;
    [[nodiscard]] const LogFile* Find(RunKey run, std::uint32_t number) const;
    /// The file of the run with the lowest number above `number`.
    [[nodiscard]] const LogFile* NextAfter(RunKey run, std::uint32_t number) const;
    /// Whether a log that the listing lacks may still exist: the listing is a moment old.
    [[nodiscard]] bool MayHoldMore() const noexcept { return !isFixed_; }

    /// "quillon-20261120-183005-123.7.log": the log's name, compressed or not.
    [[nodiscard]] std::wstring NameOf(RunKey run, std::uint32_t number) const;
    /// "quillon-20261120-183005-123", the part of the name that all files of a run share.
    [[nodiscard]] std::wstring RunName(RunKey run) const;
    [[nodiscard]] std::wstring PlainPath(RunKey run, std::uint32_t number) const;
    [[nodiscard]] std::wstring CompressedPath(RunKey run, std::uint32_t number) const;

    /// The run of a log's name in this folder, which need not have files.
    [[nodiscard]] RunKey KeyOf(const std::wstring& prefix, TimePoint start);

  private:
    void Add(const std::wstring& fileName, std::uint64_t size, TimePoint written);
    void Sort();

    std::wstring path_;  ///< with a backslash at its end, unless it is empty
    bool isFixed_ = false;
    std::vector<std::wstring> prefixes_;
    std::vector<LogFile> files_;
    /// The name of a file whose name isn't a log's: it is the only one.
    std::wstring otherName_;
    std::wstring shownName_;  ///< empty: the file's own
};

/// Whether a process has the file open for writing.
[[nodiscard]] bool IsBeingWritten(const std::wstring& path);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_FOLDER_H
