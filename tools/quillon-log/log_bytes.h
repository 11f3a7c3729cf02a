#ifndef TOOLS_QUILLON_LOG_LOG_BYTES_H
#define TOOLS_QUILLON_LOG_LOG_BYTES_H

#include <cstdint>
#include <string>

#include "tools/quillon-log/folder.h"

namespace quillon_log {

enum class ReadState {
    Whole,       ///< up to the end of the file as it is now
    Damaged,     ///< a compressed file that breaks off or doesn't unpack; what came before is there
    Unreadable,  ///< can't be opened
};

struct LogBytes {
    std::string bytes;
    ReadState state = ReadState::Whole;
};

/// Reads a log from the unpacked byte `offset` on. Of a log that stands twice the plain file is
/// read: the compressed one may be half written. Opens the file for the one call only and keeps
/// nobody from writing, compressing or deleting it.
[[nodiscard]] LogBytes ReadLogFrom(const LogLocation& location, std::uint64_t offset);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_LOG_BYTES_H
