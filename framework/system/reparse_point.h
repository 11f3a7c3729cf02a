/// Reads and removes mount points and symbolic links. Links are opened, never followed; the target
/// is not touched.
///
/// Thread-safe, without state. Logs nothing. A status is 0 or a Win32 error code.
#ifndef FRAMEWORK_SYSTEM_REPARSE_POINT_H
#define FRAMEWORK_SYSTEM_REPARSE_POINT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"

namespace framework {

/// The header of a reparse record, as passed to a deletion: only the tag is set. 24 bytes.
struct ReparsePointHeader {
    std::uint32_t ReparseTag;
    std::uint16_t ReparseDataLength;
    std::uint16_t Reserved;
    GUID ReparseGuid;
};
static_assert(sizeof(ReparsePointHeader) == 24);
static_assert(offsetof(ReparsePointHeader, ReparseTag) == 0);
static_assert(offsetof(ReparsePointHeader, ReparseDataLength) == 4);
static_assert(offsetof(ReparsePointHeader, Reserved) == 6);
static_assert(offsetof(ReparsePointHeader, ReparseGuid) == 8);

/// Opens the link itself for reading and writing. Closes the previous handle in `link`, which is
/// empty on failure.
[[nodiscard]] std::uint32_t OpenReparsePoint(const std::wstring& path, FileHandle& link);

/// Reads the reparse record of an open link. On success `buffer` has the size of the record, on
/// failure 16384 bytes.
[[nodiscard]] std::uint32_t GetReparsePointData(HANDLE handle, std::vector<std::byte>& buffer);

/// The same for a path.
[[nodiscard]] std::uint32_t GetReparsePointDataByPath(const std::wstring& path,
                                                      std::vector<std::byte>& buffer);

/// Removes the link from an open file or directory. Returns 87 (`ERROR_INVALID_PARAMETER`) if
/// `header` is null.
[[nodiscard]] std::uint32_t DeleteReparsePoint(HANDLE handle, const ReparsePointHeader* header);

/// Turns a mount point into an empty directory.
[[nodiscard]] std::uint32_t DeleteMountPoint(const std::wstring& path);

/// Turns a symbolic link into an empty directory or file.
[[nodiscard]] std::uint32_t DeleteSymbolicLink(const std::wstring& path);

/// False if the path can't be opened for reading and writing, or has no reparse point of this kind.
[[nodiscard]] bool HasReparseTag(const std::wstring& path, std::uint32_t tag);
[[nodiscard]] bool IsMountPoint(const std::wstring& path);
[[nodiscard]] bool IsSymbolicLink(const std::wstring& path);

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_REPARSE_POINT_H
