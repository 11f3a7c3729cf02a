/// A volume with mount points and symbolic links, as the platform's calls show it. Not every
/// machine lets a test create links, so the calls are replaced. Calls for anything but a link go to
/// the disk unchanged.
///
/// It behaves like NTFS. A call follows a link on the way and at the end of a path, unless it opens
/// the end itself (`FILE_FLAG_OPEN_REPARSE_POINT`). Reading anything but a link gives 4390,
/// deleting a link with a wrong tag 4394. A deleted link leaves an empty directory or file.
#ifndef TESTS_SUPPORT_LINK_VOLUME_H
#define TESTS_SUPPORT_LINK_VOLUME_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/zlib_hooks.h"

namespace test {

class LinkVolume {
  public:
    enum class Kind { Directory, File };

    LinkVolume();
    LinkVolume(const LinkVolume&) = delete;
    LinkVolume& operator=(const LinkVolume&) = delete;

    /// Puts a link at `path`. The previous object is reachable only through open handles from now
    /// on.
    void Plant(const std::wstring& path, std::uint32_t tag, Kind kind, const std::wstring& target);
    void PlantMountPoint(const std::wstring& path, const std::wstring& target);
    void PlantSymbolicLink(const std::wstring& path, Kind kind, const std::wstring& target);

    /// Later attempts to open the link or name itself fail with 5.
    void DenyOpening(const std::wstring& path);
    /// Later deletions of the link fail with `error`.
    void DenyDeletion(const std::wstring& path, DWORD error);
    /// Called with the path before each deletion of a link, to change it between the check and the
    /// deletion.
    std::function<void(const std::wstring& path)> beforeDeletion;

    [[nodiscard]] bool IsLink(const std::wstring& path) const;
    /// The place of the plain name `path` on the disk, with links on the way followed.
    [[nodiscard]] std::filesystem::path OnDisk(const std::wstring& path) const;
    /// The paths whose end was opened itself since the last call, in order.
    [[nodiscard]] std::vector<std::wstring> TakeLooks();

  private:
    /// A name that was once a link. Its backing replaces it after the link is deleted.
    struct Node {
        std::uint32_t tag = 0;  ///< 0 once the link is deleted
        std::wstring target;
        std::wstring backing;
        DWORD deletionError = 0;
    };

    [[nodiscard]] Node* Find(const std::wstring& path);
    [[nodiscard]] std::wstring Resolve(const std::wstring& path, bool followEnd) const;
    HANDLE Open(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* attributes,
                DWORD disposition, DWORD flags, HANDLE model);
    BOOL Control(HANDLE handle, DWORD code, void* input, DWORD inputSize, void* output,
                 DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped);
    DWORD Read(const Node& node, void* output, DWORD outputSize, DWORD* returned);
    DWORD Delete(const std::wstring& path, const void* input, DWORD inputSize);

    ScratchFolder backings_;
    unsigned backingCount_ = 0;
    mutable std::recursive_mutex lock_;
    // Guarded by lock_.
    std::map<std::wstring, Node> nodes_;
    std::map<HANDLE, std::wstring> openLinks_;
    std::map<std::wstring, DWORD> deniedNames_;
    std::vector<std::wstring> looks_;

    ScopedHook<CreateFileWHook> createFile_;
    ScopedHook<CreateDirectoryWHook> createDirectory_;
    ScopedHook<DeleteFileWHook> deleteFile_;
    ScopedHook<DeviceIoControlHook> control_;
    ScopedHook<CloseHandleHook> close_;
    ScopedZlib zlib_;
};

}  // namespace test

#endif  // TESTS_SUPPORT_LINK_VOLUME_H
