#ifndef TOOLS_QUILLON_LOG_BACKWARD_READER_H
#define TOOLS_QUILLON_LOG_BACKWARD_READER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/quillon-log/reader.h"

namespace quillon_log {

/// What a backward reader does with a record: appends the text to be kept of it
/// and says whether the record counts.
using RecordTaker = std::function<bool(std::wstring& text, const Record&, const Origin&)>;

/// Reads the records of one run from the newest to the oldest. A file can only
/// be read forward, so the end of a file is kept, as much of it as `memory`
/// allows; what is before it is read again.
class BackwardRun {
  public:
    /// `settings` says where files may be left out. All must outlive the object.
    BackwardRun(const Folder& folder, RunId id, const ReaderSettings& settings,
                const RecordTaker& take, const ProblemSink& problems, std::size_t memory);

    /// Goes to the next older record that counts.
    bool Advance();
    [[nodiscard]] RunId Id() const noexcept { return id_; }
    [[nodiscard]] TimePoint Time() const { return entries_.back().time; }
    [[nodiscard]] std::wstring_view Text() const {
        return std::wstring_view(texts_).substr(entries_.back().text);
    }
    /// Moves `Start` before the record at hand.
    void Take() { start_ = entries_.back().before; }
    /// Before the oldest record that was taken, or at the run's end.
    [[nodiscard]] const LogPosition& Start() const noexcept { return start_; }

  private:
    struct Entry {
        TimePoint time{};
        LogPosition before;
        std::size_t text = 0;  ///< where its text begins
    };

    bool Load();
    void LimitMemory();

    const Folder& folder_;
    const RunId id_;
    const ReaderSettings& settings_;
    const RecordTaker& take_;
    const ProblemSink& problems_;
    const std::size_t memory_;
    std::vector<Entry> entries_;  ///< the last one is at hand
    std::wstring texts_;
    bool isAnyAtHand_ = false;
    // What is to be loaded next: the records of this file before this one.
    std::size_t file_;  ///< an index into the folder's files, plus 1; the first
                        ///< file's: nothing
    std::size_t firstFile_;
    std::uint64_t endRecord_ = ~std::uint64_t{0};
    bool isLimited_ = false;
    bool isEndKnown_ = false;
    LogPosition start_;
};

/// Reads the records of some folders from the newest to the oldest. Only the
/// runs that can hold the next record are opened.
class BackwardReader {
  public:
    /// All must outlive the object; the folders were refreshed.
    BackwardReader(const std::vector<Folder>& folders, const ReaderSettings& settings,
                   RecordTaker take, ProblemSink problems);

    /// Goes to the next older record that counts.
    bool Advance();
    // Of the record at hand.
    [[nodiscard]] TimePoint Time() const { return current_->Time(); }
    [[nodiscard]] std::wstring_view Text() const { return current_->Text(); }

    /// Where to begin so that exactly the records are read that were gone through
    /// here, and those that come later.
    [[nodiscard]] Positions Starts();

  private:
    struct Candidate {
        TimePoint latest{};
        RunId id;
        std::uint32_t lastNumber = 0;
    };

    void OpenDue();
    void Open(const Candidate& candidate);

    const std::vector<Folder>& folders_;
    const ReaderSettings& settings_;
    RecordTaker take_;
    ProblemSink problems_;
    std::vector<Candidate> candidates_;  ///< not opened yet; the one that may hold the latest last
    std::vector<std::unique_ptr<BackwardRun>> runs_;
    std::vector<BackwardRun*> ready_;  ///< a heap with the latest record in front
    BackwardRun* current_ = nullptr;
};

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_BACKWARD_READER_H
