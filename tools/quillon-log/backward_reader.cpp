#include "tools/quillon-log/backward_reader.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "tools/quillon-log/run_end.h"

namespace quillon_log {
namespace {

bool IsEarlier(const BackwardRun* left, const BackwardRun* right) {
    return std::tuple(left->Time(), left->Id()) < std::tuple(right->Time(), right->Id());
}

}  // namespace

BackwardRun::BackwardRun(const Folder& folder, RunId id, const ReaderSettings& settings,
                         const RecordTaker& take, const ProblemSink& problems, std::size_t memory)
    : folder_(folder),
      id_(id),
      settings_(settings),
      take_(take),
      problems_(problems),
      memory_(memory) {
    const auto files = folder.FilesOf(id.run).value();
    firstFile_ = files.first;
    file_ = files.second + 1;
}

bool BackwardRun::Advance() {
    if (std::exchange(isAnyAtHand_, true) && !entries_.empty()) {
        texts_.resize(entries_.back().text);
        entries_.pop_back();
    }
    while (entries_.empty()) {
        if (!Load()) {
            entries_.shrink_to_fit();
            texts_.shrink_to_fit();
            return false;
        }
    }
    return true;
}

/// Reads the next older file, or the part of the last one that had no room.
/// False if there is none.
bool BackwardRun::Load() {
    if (file_ == firstFile_) {
        return false;
    }
    const LogFile& file = folder_.Files()[file_ - 1];
    LogPosition begin;
    begin.number = file.number;
    const AtEnd atEnd = settings_.atEnd == AtEnd::Finish ? AtEnd::Finish : AtEnd::FinishUnlessOpen;
    RunReader reader(folder_, id_.run, begin, atEnd, problems_);
    reader.ReadOneFile();
    isLimited_ = false;
    std::optional<TimePoint> first;
    while (reader.Advance() && reader.Position().records < endRecord_) {
        const Record& record = reader.Current();
        first = first ? first : record.time;
        Entry entry;
        entry.text = texts_.size();
        if (take_(texts_, record, reader.Source())) {
            entry.time = reader.Time();
            entry.before = reader.Before();
            entries_.push_back(entry);
            LimitMemory();
        } else {
            texts_.resize(entry.text);
        }
    }
    if (!std::exchange(isEndKnown_, true)) {
        start_ = reader.Position();
    }
    if (isLimited_) {
        endRecord_ = entries_.front().before.records + 1;
        return true;
    }
    endRecord_ = ~std::uint64_t{0};
    // Older files hold nothing from the time on that is asked for.
    file_ = settings_.since && first && *first <= *settings_.since ? firstFile_ : file_ - 1;
    return true;
}

/// Forgets the older half.
void BackwardRun::LimitMemory() {
    if (entries_.size() < 2 ||
        entries_.size() * sizeof(Entry) + texts_.size() * sizeof(wchar_t) < memory_) {
        return;
    }
    const auto kept = entries_.begin() + static_cast<std::ptrdiff_t>(entries_.size() / 2);
    const std::size_t forgotten = kept->text;
    entries_.erase(entries_.begin(), kept);
    texts_.erase(0, forgotten);
    for (Entry& entry : entries_) {
        entry.text -= forgotten;
    }
    isLimited_ = true;
}

BackwardReader::BackwardReader(const std::vector<Folder>& folders, const ReaderSettings& settings,
                               RecordTaker take, ProblemSink problems)
    : folders_(folders),
      settings_(settings),
      take_(std::move(take)),
      problems_(std::move(problems)) {
    for (std::size_t index = 0; index < folders.size(); ++index) {
        const std::vector<LogFile>& files = folders[index].Files();
        for (std::size_t first = 0; first < files.size();) {
            const std::size_t last = folders[index].FilesOf(files[first].run)->second;
            Candidate candidate;
            candidate.latest = LatestTimeOf(folders[index], first, last);
            candidate.id = {index, files[first].run};
            candidate.lastNumber = files[last].number;
            const bool isEarly = settings.since && candidate.latest < *settings.since;
            const bool isOther = settings.onlyRun && *settings.onlyRun != candidate.id;
            const bool isLate = settings.until && candidate.id.run.start >= *settings.until;
            if (!isEarly && !isLate && !isOther) {
                candidates_.push_back(candidate);
            }
            first = last + 1;
        }
    }
    std::sort(candidates_.begin(), candidates_.end(), [](const auto& left, const auto& right) {
        return std::tuple(left.latest, left.id) < std::tuple(right.latest, right.id);
    });
}

bool BackwardReader::Advance() {
    if (current_ != nullptr && current_->Advance()) {
        ready_.push_back(current_);
        std::push_heap(ready_.begin(), ready_.end(), IsEarlier);
    }
    current_ = nullptr;
    OpenDue();
    if (ready_.empty()) {
        return false;
    }
    std::pop_heap(ready_.begin(), ready_.end(), IsEarlier);
    current_ = ready_.back();
    ready_.pop_back();
    current_->Take();
    return true;
}

void BackwardReader::OpenDue() {
    while (!candidates_.empty() &&
           (ready_.empty() || candidates_.back().latest >= ready_.front()->Time())) {
        const Candidate candidate = candidates_.back();
        candidates_.pop_back();
        Open(candidate);
    }
}

void BackwardReader::Open(const Candidate& candidate) {
    constexpr std::size_t FirstMemory = 6 * 1024 * 1024;
    constexpr std::size_t SharedMemory = 512 * 1024;
    const std::size_t memory = runs_.empty() ? FirstMemory : SharedMemory / runs_.size();
    runs_.push_back(std::make_unique<BackwardRun>(folders_[candidate.id.folder], candidate.id,
                                                  settings_, take_, problems_, memory));
    if (runs_.back()->Advance()) {
        ready_.push_back(runs_.back().get());
        std::push_heap(ready_.begin(), ready_.end(), IsEarlier);
    }
}

Positions BackwardReader::Starts() {
    // The end of a log that may still grow has to be known.
    while (settings_.keepsPositions && !candidates_.empty() &&
           candidates_.back().latest == TimePoint::max()) {
        const Candidate candidate = candidates_.back();
        candidates_.pop_back();
        Open(candidate);
    }
    Positions starts;
    for (const Candidate& candidate : candidates_) {
        LogPosition& end = starts[candidate.id];
        end.number = candidate.lastNumber;
        end.isAtEnd = true;
    }
    for (const auto& run : runs_) {
        starts[run->Id()] = run->Start();
    }
    return starts;
}

}  // namespace quillon_log
