#include "tools/quillon-log/reader.h"

#include <optional>

#include "tools/quillon-log/output.h"

namespace quillon_log {
namespace {

void Give(const std::vector<Record>& records, const Reader::RecordSink& sink) {
    for (const Record& record : records) {
        sink(record);
    }
}

}  // namespace

bool Reader::ReadNew(const RecordSink& sink, bool live) {
    const std::optional<LogFolder> logs = ListLogs(folder_);
    if (!logs) {
        return false;
    }
    for (const auto& [name, location] : *logs) {
        Progress& progress = progress_[name];
        if (!progress.finished) {
            ReadLog(location, progress, sink, live);
        }
    }
    return true;
}

void Reader::SkipPresent() {
    for (const auto& [name, location] : ListLogs(folder_).value_or(LogFolder())) {
        progress_[name].finished = true;
    }
    skipped_ = progress_.size();
}

void Reader::ReadLog(const LogLocation& location, Progress& progress, const RecordSink& sink,
                     bool live) {
    const bool isClosed = location.plain.empty();
    const LogBytes read = ReadLogFrom(location, progress.offset);
    if (read.state == ReadState::Unreadable && live && !isClosed) {
        // It has been compressed since the folder was listed; the next look finds it so.
        return;
    }
    lastFile_ = isClosed ? location.compressed : location.plain;
    progress.offset += read.bytes.size();
    Give(progress.parser.Take(read.bytes), sink);
    if (!live || isClosed || progress.parser.EndsInLineFeed()) {
        Give(progress.parser.Finish(), sink);
    }
    progress.finished = isClosed || !live;
    if (read.state != ReadState::Whole) {
        progress.finished = true;
        TellDamage(location, read.state);
    }
}

void Reader::TellDamage(const LogLocation& location, ReadState state) {
    metDamage_ = true;
    const std::wstring& path = location.plain.empty() ? location.compressed : location.plain;
    WriteError(path + (state == ReadState::Damaged ? L": damaged; what could be read of it is shown"
                                                   : L": can't be opened"));
}

}  // namespace quillon_log
