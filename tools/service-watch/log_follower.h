#ifndef TOOLS_SERVICE_WATCH_LOG_FOLLOWER_H
#define TOOLS_SERVICE_WATCH_LOG_FOLLOWER_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "framework/system/unique_handle.h"
#include "tools/service-watch/log_text.h"

namespace service_watch {

/// Reads the log of one run of the service from its first file on, across rotations. Never keeps
/// the service from writing, compressing or deleting a file. One thread.
class LogFollower {
  public:
    /// `folders` with a trailing backslash each. The files that stand in them now belong to earlier
    /// runs and are not read.
    explicit LogFollower(std::vector<std::wstring> folders);

    /// Hands on the lines that came since the last call.
    void Poll(const LineSink& sink);

    /// The same, once the service has ended: what is left without a line feed comes too.
    void Finish(const LineSink& sink);

    /// Path of the file read last, without its ending ".log"; empty if there was none.
    [[nodiscard]] std::wstring CurrentName() const;

    /// How many files were read.
    [[nodiscard]] std::uint32_t FileCount() const noexcept;

  private:
    [[nodiscard]] std::wstring FindStemOfRun() const;
    void BeginFile(std::uint32_t number, const LineSink& sink);
    [[nodiscard]] std::wstring NameOf(std::uint32_t number) const;
    [[nodiscard]] bool Exists(std::uint32_t number) const;
    void ReadRest(const LineSink& sink);
    [[nodiscard]] bool ReadCompressed(const std::wstring& path, const LineSink& sink);

    std::vector<std::wstring> folders_;
    std::set<std::wstring> earlier_;
    std::wstring stem_;  // path up to the number, its dot included
    std::uint32_t number_ = 0;
    framework::FileHandle file_;
    LineDecoder decoder_;
};

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_LOG_FOLLOWER_H
