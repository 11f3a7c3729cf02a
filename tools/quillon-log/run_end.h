#ifndef TOOLS_QUILLON_LOG_RUN_END_H
#define TOOLS_QUILLON_LOG_RUN_END_H

#include <cstddef>

#include "tools/quillon-log/folder.h"

namespace quillon_log {

/// A time after which the run whose files are those from `first` to `last` of the folder has no
/// record; the latest possible time if the process may still run.
///
/// A run whose last file is compressed has ended, no later than that file was written. If the file
/// was copied and so is younger than its content, the run is taken to have ended when four later
/// processes had each begun a log of some size: there is one service on a machine.
[[nodiscard]] TimePoint LatestTimeOf(const Folder& folder, std::size_t first, std::size_t last);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_RUN_END_H
