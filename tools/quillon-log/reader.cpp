#include "tools/quillon-log/reader.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "tools/quillon-log/run_end.h"

namespace quillon_log {
namespace {

RunId IdOf(const std::vector<Folder>& folders, const RunReader& reader) {
    return {static_cast<std::size_t>(reader.Source().folder - folders.data()), reader.Source().run};
}

}  // namespace

bool Reader::Later::operator()(const RunReader* left, const RunReader* right) const {
    const auto key = [](const RunReader* reader) {
        const Origin& origin = reader->Source();
        return std::tuple(reader->Time(), origin.folder, origin.run);
    };
    return left->Time() != right->Time() ? left->Time() > right->Time() : key(left) > key(right);
}

Reader::Reader(std::vector<Folder> folders, ReaderSettings settings, ProblemSink problems)
    : folders_(std::move(folders)), settings_(settings), problems_(std::move(problems)) {}

bool Reader::Refresh() {
    bool isAnyThere = false;
    runCount_ = 0;
    for (Folder& folder : folders_) {
        isAnyThere = folder.Refresh() || isAnyThere;
        const LogFile* before = nullptr;
        for (const LogFile& file : folder.Files()) {
            runCount_ += before == nullptr || before->run != file.run ? 1U : 0U;
            before = &file;
        }
    }
    return isAnyThere;
}

bool Reader::ReadNew(const RecordSink& sink) {
    const bool isAnyThere = Refresh();
    ReportMissingRuns();
    ready_.clear();
    std::vector<RunId> waiting;
    for (const auto& [id, reader] : readers_) {
        waiting.push_back(id);
    }
    for (const RunId& id : waiting) {
        AdvanceRun(id);
    }
    std::vector<std::size_t> next(folders_.size());
    bool goesOn = true;
    while (goesOn) {
        OpenDueRuns(next);
        if (ready_.empty()) {
            break;
        }
        RunReader* reader = ready_.front();
        std::pop_heap(ready_.begin(), ready_.end(), Later());
        ready_.pop_back();
        goesOn = sink(reader->Current(), reader->Source());
        if (goesOn) {
            AdvanceRun(IdOf(folders_, *reader));
        }
    }
    knowsEarlierRuns_ = knowsEarlierRuns_ || settings_.keepsPositions;
    return isAnyThere;
}

/// Opens the runs that begin no later than the earliest record at hand; or if there is none, the
/// earliest run.
void Reader::OpenDueRuns(std::vector<std::size_t>& next) {
    while (true) {
        std::size_t earliest = folders_.size();
        TimePoint start{};
        for (std::size_t index = 0; index < folders_.size(); ++index) {
            const auto& files = folders_[index].Files();
            if (next[index] < files.size() &&
                (earliest == folders_.size() || files[next[index]].run.start < start)) {
                earliest = index;
                start = files[next[index]].run.start;
            }
        }
        if (earliest == folders_.size() || (!ready_.empty() && start > ready_.front()->Time())) {
            return;
        }
        const auto& files = folders_[earliest].Files();
        const std::size_t first = next[earliest];
        std::size_t end = first + 1;
        while (end < files.size() && files[end].run == files[first].run) {
            ++end;
        }
        next[earliest] = end;
        OpenRun(earliest, first, end - 1);
    }
}

void Reader::OpenRun(std::size_t folder, std::size_t first, std::size_t last) {
    // Beyond these numbers of runs at the same time, readers get less memory each.
    constexpr std::size_t FewRuns = 4;
    constexpr std::size_t ManyRuns = 32;
    constexpr std::size_t LargeBuffer = 128 * 1024;
    constexpr std::size_t MiddleBuffer = 32 * 1024;
    constexpr std::size_t SmallBuffer = 8 * 1024;
    const RunId id{folder, folders_[folder].Files()[first].run};
    if (readers_.contains(id) || (settings_.onlyRun && *settings_.onlyRun != id)) {
        return;
    }
    const std::optional<LogPosition> start = StartOf(id, first, last);
    if (!start) {
        return;
    }
    auto reader =
        std::make_unique<RunReader>(folders_[folder], id.run, *start, settings_.atEnd, problems_);
    const std::size_t count = readers_.size();
    reader->SetBuffer(count < FewRuns    ? LargeBuffer
                      : count < ManyRuns ? MiddleBuffer
                                         : SmallBuffer,
                      count < FewRuns);
    if (settings_.until) {
        reader->SetUntil(*settings_.until);
    }
    const LogFile& firstFile = folders_[folder].Files()[first];
    if (knowsEarlierRuns_ && firstFile.number > 0 && !positions_.contains(id)) {
        ReportMissingStart(folders_[folder], firstFile);
    }
    readers_.emplace(id, std::move(reader));
    positions_.erase(id);
    AdvanceRun(id);
}

/// Where a run is to be read from; nothing if it is not to be read.
std::optional<LogPosition> Reader::StartOf(const RunId& id, std::size_t first,
                                           std::size_t last) const {
    const Folder& folder = folders_[id.folder];
    const std::vector<LogFile>& files = folder.Files();
    if (const auto known = positions_.find(id); known != positions_.end()) {
        const LogPosition& reached = known->second;
        const bool isNewest = files[last].number <= reached.number;
        const bool isUnchanged =
            reached.isQuiet && files[last].plain && files[last].size == reached.offset;
        return isNewest && (reached.isAtEnd || isUnchanged) ? std::nullopt : std::optional(reached);
    }
    if (onlyPositioned_ || (settings_.until && id.run.start >= *settings_.until)) {
        return std::nullopt;
    }
    LogPosition start;
    start.number = files[first].number;
    if (!settings_.since) {
        return start;
    }
    if (LatestTimeOf(folder, first, last) < *settings_.since) {
        return std::nullopt;
    }
    for (std::size_t index = last; index > first; --index) {
        const std::optional<TimePoint> begin = FirstTimeOf(folder, files[index]);
        if (begin && *begin <= *settings_.since) {
            start.number = files[index].number;
            break;
        }
    }
    return start;
}

/// Reads the run's next record; without one, closes the reader.
void Reader::AdvanceRun(const RunId& id) {
    constexpr std::size_t MostOpenFiles = 64;
    const auto found = readers_.find(id);
    RunReader& reader = *found->second;
    if (reader.Advance()) {
        if (readers_.size() > MostOpenFiles) {
            reader.CloseFile();
        }
        ready_.push_back(&reader);
        std::push_heap(ready_.begin(), ready_.end(), Later());
        return;
    }
    lastFile_ = reader.LastFile().empty() ? lastFile_ : reader.LastFile();
    if (reader.IsFinished() || reader.IsIdle()) {
        if (settings_.keepsPositions) {
            positions_[id] = reader.Position();
        }
        filesRead_ += reader.FilesRead();
        readers_.erase(found);
    }
}

void Reader::SkipPresent() {
    settings_.keepsPositions = true;
    for (std::size_t index = 0; index < folders_.size(); ++index) {
        folders_[index].Refresh();
        for (const LogFile& file : folders_[index].Files()) {
            LogPosition& position = positions_[{index, file.run}];
            position.number = file.number;
            position.isAtEnd = true;
        }
    }
}

void Reader::BeginAt(Positions positions, bool onlyThese) {
    positions_ = std::move(positions);
    onlyPositioned_ = onlyThese;
}

void Reader::BeginAtCursor(Positions positions) {
    BeginAt(std::move(positions));
    knowsEarlierRuns_ = true;
}

/// A run that was not read to its end and has no file any more.
void Reader::ReportMissingRuns() {
    for (auto entry = positions_.begin(); entry != positions_.end();) {
        const auto& [id, position] = *entry;
        const Folder& folder = folders_[id.folder];
        if (folder.FilesOf(id.run)) {
            ++entry;
            continue;
        }
        if (!position.isAtEnd && !position.isQuiet) {
            Problem gap;
            gap.place = folder.Path() + folder.NameOf(id.run, position.number);
            gap.text = L"deleted before it was read";
            gap.isGap = true;
            gap.missingFiles.reset();
            gap.lastRecord = position.records;
            gap.from = position.time;
            problems_(gap);
        }
        entry = positions_.erase(entry);
    }
}

/// The numbers of a run's files begin at 0.
void Reader::ReportMissingStart(const Folder& folder, const LogFile& first) const {
    Problem gap;
    gap.place = folder.Path() + folder.NameOf(first.run, 0);
    gap.text = L"deleted before it was read";
    gap.isGap = true;
    gap.missingFiles = first.number;
    gap.from = first.run.start;
    gap.until = FirstTimeOf(folder, first).value_or(TimePoint::max());
    problems_(gap);
}

Positions Reader::Reached() const {
    Positions reached = positions_;
    for (const auto& [id, reader] : readers_) {
        const bool isReady = std::find(ready_.begin(), ready_.end(), reader.get()) != ready_.end();
        reached[id] = isReady ? reader->Before() : reader->Position();
    }
    return reached;
}

bool Reader::HoldsBack() const {
    return std::any_of(readers_.begin(), readers_.end(),
                       [](const auto& entry) { return entry.second->HoldsBack(); });
}

std::size_t Reader::FilesRead() const noexcept {
    std::size_t count = filesRead_;
    for (const auto& [id, reader] : readers_) {
        count += reader->FilesRead();
    }
    return count;
}

}  // namespace quillon_log
