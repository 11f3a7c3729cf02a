#include "tools/service-watch/run_log.h"

#include "tools/quillon-log/output.h"

namespace service_watch {
namespace {

std::vector<quillon_log::Folder> FoldersAt(const std::vector<std::wstring>& paths) {
    return {paths.begin(), paths.end()};
}

quillon_log::ReaderSettings Following() {
    quillon_log::ReaderSettings settings;
    settings.atEnd = quillon_log::AtEnd::Wait;
    return settings;
}

void Report(const quillon_log::Problem& problem) {
    quillon_log::WriteError(problem.place + L": " + problem.text);
}

}  // namespace

RunLog::RunLog(const std::vector<std::wstring>& folders)
    : reader_(FoldersAt(folders), Following(), Report) {
    reader_.SkipPresent();
}

// A missing folder is retried the next time.
void RunLog::ReadNew(const RecordSink& sink) {
    static_cast<void>(reader_.ReadNew([&](const quillon_log::Record& record, const auto&) {
        ++records_;
        sink(record);
        return true;
    }));
}

void RunLog::Finish(const RecordSink& sink) {
    reader_.Finish();
    ReadNew(sink);
}

}  // namespace service_watch
