#ifndef TOOLS_SERVICE_WATCH_RUN_LOG_H
#define TOOLS_SERVICE_WATCH_RUN_LOG_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/quillon-log/reader.h"

namespace service_watch {

/// The log of one run of the service, wherever of several folders it is written. One thread.
class RunLog {
  public:
    using RecordSink = std::function<void(const quillon_log::Record&)>;

    /// The logs that stand in the folders now belong to earlier runs and are not read.
    explicit RunLog(const std::vector<std::wstring>& folders);

    /// Gives the records that came since the last call.
    void ReadNew(const RecordSink& sink);
    /// The same once the service has ended: what is left without a line feed comes too.
    void Finish(const RecordSink& sink);

    [[nodiscard]] std::uint64_t RecordCount() const noexcept { return records_; }
    [[nodiscard]] std::size_t FileCount() const noexcept { return reader_.FilesRead(); }
    /// Path of the file read last; empty if there was none.
    [[nodiscard]] std::wstring LastFile() const { return reader_.LastFile(); }

  private:
    quillon_log::Reader reader_;
    std::uint64_t records_ = 0;
};

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_RUN_LOG_H
