#ifndef TOOLS_QUILLON_LOG_FOLDER_H
#define TOOLS_QUILLON_LOG_FOLDER_H

#include <map>
#include <optional>
#include <string>

#include "tools/quillon-log/log_name.h"

namespace quillon_log {

/// Where one log stands: as a plain file, as a compressed one, or, while it is being compressed or
/// after that has failed, as both. An empty path stands for none.
struct LogLocation {
    std::wstring plain;
    std::wstring compressed;
};

/// The logs of a folder in the order of reading.
using LogFolder = std::map<LogName, LogLocation>;

/// Nothing if the folder can't be read at all. Files with other names are left out.
[[nodiscard]] std::optional<LogFolder> ListLogs(const std::wstring& folder);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_FOLDER_H
