#include "tools/service-watch/run_log.h"

namespace service_watch {

RunLog::RunLog(const std::vector<std::wstring>& folders) {
    for (const std::wstring& folder : folders) {
        readers_.emplace_back(folder);
        readers_.back().SkipPresent();
    }
}

void RunLog::ReadNew(const RecordSink& sink) {
    Read(sink, true);
}

void RunLog::Finish(const RecordSink& sink) {
    Read(sink, false);
}

// A folder that isn't there yet is looked for again the next time.
void RunLog::Read(const RecordSink& sink, bool live) {
    for (quillon_log::Reader& reader : readers_) {
        static_cast<void>(reader.ReadNew(
            [&](const quillon_log::Record& record) {
                ++records_;
                sink(record);
            },
            live));
    }
}

std::size_t RunLog::FileCount() const noexcept {
    std::size_t count = 0;
    for (const quillon_log::Reader& reader : readers_) {
        count += reader.FilesRead();
    }
    return count;
}

std::wstring RunLog::LastFile() const {
    for (const quillon_log::Reader& reader : readers_) {
        if (reader.FilesRead() > 0) {
            return reader.LastFile();
        }
    }
    return {};
}

}  // namespace service_watch
