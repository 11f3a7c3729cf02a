#ifndef TOOLS_QUILLON_LOG_OPERANDS_H
#define TOOLS_QUILLON_LOG_OPERANDS_H

#include <string>
#include <vector>

#include "framework/system/unique_handle.h"
#include "tools/quillon-log/folder.h"

namespace quillon_log {

/// What the operands of the command line name.
struct Operands {
    std::vector<Folder> folders;  ///< and named files, those of one folder together
    std::vector<std::wstring> missing;
    bool isOneFolder = false;  ///< one folder and no file
    /// Deletes the copy of standard input when it is closed.
    framework::FileHandle inputCopy;
};

/// Finds out what the operands are; none mean the usual folder. With `waits` an operand that
/// doesn't exist is a folder that is still to come. With `readsTwice` standard input is copied to a
/// temporary file first.
[[nodiscard]] Operands ResolveOperands(const std::vector<std::wstring>& operands, bool waits,
                                       bool readsTwice);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_OPERANDS_H
