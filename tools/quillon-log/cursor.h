#ifndef TOOLS_QUILLON_LOG_CURSOR_H
#define TOOLS_QUILLON_LOG_CURSOR_H

#include <optional>
#include <string>
#include <string_view>

#include "tools/quillon-log/reader.h"

namespace quillon_log {

/// A cursor holds, for each run of a folder, how far it was read. It is one line of text without
/// blanks; `folder` is the only folder of the reader that `positions` come from.
[[nodiscard]] std::wstring CursorOf(const Positions& positions, const Folder& folder);

/// The positions of a cursor; nothing if the text is none.
[[nodiscard]] std::optional<Positions> ParseCursor(std::wstring_view cursor, Folder& folder);

/// The cursor in a file; empty if the file doesn't exist or is empty. Nothing, with the platform's
/// last error set, if it can't be read.
[[nodiscard]] std::optional<std::wstring> ReadCursorFile(const std::wstring& path);

/// Replaces the file in one step: a process that is killed meanwhile, or a power failure, leaves
/// the old cursor or the new one. False, with the platform's last error set, if it can't be
/// replaced.
[[nodiscard]] bool WriteCursorFile(const std::wstring& path, const std::wstring& cursor);

}  // namespace quillon_log

#endif  // TOOLS_QUILLON_LOG_CURSOR_H
