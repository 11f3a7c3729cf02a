#ifndef TOOLS_QUILLON_LOG_READER_H
#define TOOLS_QUILLON_LOG_READER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "tools/quillon-log/folder.h"
#include "tools/quillon-log/log_bytes.h"
#include "tools/quillon-log/record.h"

namespace quillon_log {

/// Reads the logs of a folder, all of them or what has come since the last time.
class Reader {
  public:
    using RecordSink = std::function<void(const Record&)>;

    explicit Reader(std::wstring folder) : folder_(std::move(folder)) {}

    /// Gives the records that weren't given before, in order. With `live` the last record of a file
    /// that doesn't end in a line feed is kept back: its end may still come. False if the folder
    /// can't be read.
    bool ReadNew(const RecordSink& sink, bool live);

    /// The logs that are there now are never read.
    void SkipPresent();

    /// How many logs have been found so far.
    [[nodiscard]] std::size_t Found() const noexcept { return progress_.size(); }
    /// How many of them have been read, in part at least.
    [[nodiscard]] std::size_t FilesRead() const noexcept { return Found() - skipped_; }
    /// Where the log stood that was read last; empty if there was none.
    [[nodiscard]] const std::wstring& LastFile() const noexcept { return lastFile_; }
    /// Whether something was damaged or unreadable. Each such file has been told on standard error.
    [[nodiscard]] bool MetDamage() const noexcept { return metDamage_; }

  private:
    struct Progress {
        std::uint64_t offset = 0;
        RecordParser parser;
        bool finished = false;  ///< read to the end of its compressed form, or given up
    };

    void ReadLog(const LogLocation& location, Progress& progress, const RecordSink& sink,
                 bool live);
    void TellDamage(const LogLocation& location, ReadState state);

    std::wstring folder_;
    std::map<LogName, Progress> progress_;
    std::size_t skipped_ = 0;
    std::wstring lastFile_;
    bool metDamage_ = false;
};

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_READER_H
