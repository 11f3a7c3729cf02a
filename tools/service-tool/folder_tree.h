/// Folders and what is in them, never followed through a link.
#ifndef TOOLS_SERVICE_TOOL_FOLDER_TREE_H
#define TOOLS_SERVICE_TOOL_FOLDER_TREE_H

#include <functional>
#include <string>

#include "framework/system/platform.h"

namespace service_tool {

/// Whether the name is a junction, a symbolic link or another reparse point. Its target doesn't
/// matter. False if there is no such name.
[[nodiscard]] bool IsLink(const std::wstring& path);

/// Gets the path of an entry and its attributes; returns 0 or an error.
using EntryVisitor = std::function<DWORD(const std::wstring& path, DWORD attributes)>;

/// Visits everything below `folder`, but not `folder` itself: a folder after its contents if
/// `contentsFirst`, else before. A link is visited and not entered. All entries are visited;
/// returns the first error.
[[nodiscard]] DWORD VisitTree(const std::wstring& folder, bool contentsFirst,
                              const EntryVisitor& visit);

/// Removes the folder with all that is in it. A link in it goes; what it points to stays. Returns
/// the first error; what could be removed is gone then too.
[[nodiscard]] DWORD RemoveFolder(const std::wstring& folder);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_FOLDER_TREE_H
