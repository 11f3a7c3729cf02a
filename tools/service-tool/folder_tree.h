/// Folder trees. Links are never followed.
#ifndef TOOLS_SERVICE_TOOL_FOLDER_TREE_H
#define TOOLS_SERVICE_TOOL_FOLDER_TREE_H

#include <functional>
#include <string>

#include "framework/system/platform.h"

namespace service_tool {

/// Whether the path is a junction, a symbolic link or another reparse point, whatever its target.
/// False if it doesn't exist.
[[nodiscard]] bool IsLink(const std::wstring& path);

/// Receives the path and attributes of an entry; returns 0 or an error.
using EntryVisitor = std::function<DWORD(const std::wstring& path, DWORD attributes)>;

/// Visits everything below `folder`, but not `folder` itself. Visits a folder after its contents if
/// `contentsFirst`, else before them. Links are visited but not entered. Continues after an error;
/// returns the first one.
[[nodiscard]] DWORD VisitTree(const std::wstring& folder, bool contentsFirst,
                              const EntryVisitor& visit);

/// Removes the folder and its contents. Removes links, not their targets. Continues after an error;
/// returns the first one.
[[nodiscard]] DWORD RemoveFolder(const std::wstring& folder);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_FOLDER_TREE_H
