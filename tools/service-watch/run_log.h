#ifndef TOOLS_SERVICE_WATCH_RUN_LOG_H
#define TOOLS_SERVICE_WATCH_RUN_LOG_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/quillon-log/reader.h"

namespace service_watch {

/// The log of one run of the service, in one of several folders. Not thread-safe.
class RunLog {
  public:
    using RecordSink = std::function<void(const quillon_log::Record&)>;

    /// Logs that already exist in the folders belong to earlier runs and are ignored.
    explicit RunLog(const std::vector<std::wstring>& folders);

    /// Passes on the records since the last call.
    void ReadNew(const RecordSink& sink);
    /// As above, after the service has ended: includes a last record without a line feed.
    void Finish(const RecordSink& sink);

    [[nodiscard]] std::uint64_t RecordCount() const noexcept { return records_; }
    [[nodiscard]] std::size_t FileCount() const noexcept { return reader_.FilesRead(); }
    /// The path of the last file read; empty if there was none.
    [[nodiscard]] std::wstring LastFile() const { return reader_.LastFile(); }

  private:
    quillon_log::Reader reader_;
    std::uint64_t records_ = 0;
};

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_RUN_LOG_H
