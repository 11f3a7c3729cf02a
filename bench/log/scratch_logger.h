#ifndef BENCH_LOG_SCRATCH_LOGGER_H
#define BENCH_LOG_SCRATCH_LOGGER_H

#include <filesystem>

#include "framework/logger/logger_config.h"

namespace bench {

/// A temporary folder for one row, removed at the end.
class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    [[nodiscard]] const std::filesystem::path& Path() const noexcept { return path_; }

  private:
    std::filesystem::path path_;
};

/// The process's logger, created again and writing to a separate folder.
class ScratchLogger {
  public:
    explicit ScratchLogger(framework::LoggerConfig config = UsualConfig());
    ~ScratchLogger();
    ScratchLogger(const ScratchLogger&) = delete;
    ScratchLogger& operator=(const ScratchLogger&) = delete;
    [[nodiscard]] const std::filesystem::path& Path() const noexcept { return folder_.Path(); }

    /// As the executable configures it, but without rotation, compression and retention.
    [[nodiscard]] static framework::LoggerConfig UsualConfig();

  private:
    ScratchFolder folder_;
};

}  // namespace bench

#endif  // BENCH_LOG_SCRATCH_LOGGER_H
