#include "tools/quillon-log/run_end.h"

#include <algorithm>

namespace quillon_log {

TimePoint LatestTimeOf(const Folder& folder, std::size_t /*first*/, std::size_t last) {
    // File systems keep the time of a write by two seconds or better.
    constexpr std::chrono::seconds Inaccuracy(2);
    constexpr int LaterRuns = 4;
    constexpr std::uint64_t SizeOfWorkingRun = 64 * 1024;  // compressed, in bytes
    constexpr std::size_t MostFiles = 1000;                // that are examined
    const std::vector<LogFile>& files = folder.Files();
    const LogFile& file = files[last];
    if (file.plain) {
        return IsBeingWritten(folder.PlainPath(file.run, file.number)) ? TimePoint::max()
                                                                       : file.written + Inaccuracy;
    }
    TimePoint latest = file.written + Inaccuracy;
    int found = 0;
    const std::size_t end = std::min(files.size(), last + MostFiles);
    for (std::size_t index = last + 1; index < end && files[index].run.start < latest; ++index) {
        const bool isNext = files[index].run != files[index - 1].run;
        if (isNext && found == LaterRuns) {
            latest = files[index].run.start;
        } else if (isNext && files[index].run.prefix == file.run.prefix &&
                   (files[index].size >= SizeOfWorkingRun || files[index].plain)) {
            ++found;
        }
    }
    return latest;
}

}  // namespace quillon_log
