#include "tests/support/link_volume.h"

#include <winioctl.h>

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <stdexcept>
#include <utility>

namespace test {
namespace {

constexpr DWORD DeletionHeaderSize = 24;
constexpr int LongestChain = 63;

/// Compares names case-insensitively, like the disk.
std::wstring Key(std::wstring path) {
    std::transform(path.begin(), path.end(), path.begin(),
                   [](wchar_t letter) { return static_cast<wchar_t>(std::towlower(letter)); });
    while (!path.empty() && path.back() == L'\\') {
        path.pop_back();
    }
    return path;
}

BOOL Answer(DWORD error) {
    if (error == ERROR_SUCCESS) {
        return TRUE;
    }
    ::SetLastError(error);
    return FALSE;
}

std::string Narrow(const std::wstring& path) {
    return std::filesystem::path(path).string();
}

}  // namespace

LinkVolume::LinkVolume()
    : createFile_([this](auto... args) { return Open(args...); }),
      createDirectory_([this](const wchar_t* path, SECURITY_ATTRIBUTES* attributes) {
          // The last component isn't followed: a link there is an existing name.
          return CreateDirectoryWHook::Real(Resolve(path, false).c_str(), attributes);
      }),
      deleteFile_([this](const wchar_t* path) {
          return DeleteFileWHook::Real(Resolve(path, false).c_str());
      }),
      control_([this](auto... args) { return Control(args...); }),
      close_([this](HANDLE handle) {
          const std::lock_guard guard(lock_);
          openLinks_.erase(handle);
          return CloseHandleHook::Real(handle);
      }),
      zlib_({.open =
                 [this](const char* path, const char* mode) {
                     const std::wstring wide = std::filesystem::path(path).wstring();
                     return ::gzopen(Narrow(Resolve(wide, true)).c_str(), mode);
                 },
             .write = {},
             .close = {}}) {}

void LinkVolume::Plant(const std::wstring& path, std::uint32_t tag, Kind kind,
                       const std::wstring& target) {
    const std::lock_guard guard(lock_);
    Node node;
    node.tag = tag;
    node.target = target;
    node.backing = backings_.WithBackslash() + std::to_wstring(backingCount_++);
    if (kind == Kind::Directory) {
        std::filesystem::create_directory(node.backing);
    } else {
        WriteFileBytes(node.backing, "");
    }
    nodes_[Key(path)] = node;
}

void LinkVolume::PlantMountPoint(const std::wstring& path, const std::wstring& target) {
    Plant(path, IO_REPARSE_TAG_MOUNT_POINT, Kind::Directory, target);
}

void LinkVolume::PlantSymbolicLink(const std::wstring& path, Kind kind,
                                   const std::wstring& target) {
    Plant(path, IO_REPARSE_TAG_SYMLINK, kind, target);
}

void LinkVolume::DenyOpening(const std::wstring& path) {
    const std::lock_guard guard(lock_);
    deniedNames_[Key(path)] = ERROR_ACCESS_DENIED;
}

void LinkVolume::DenyDeletion(const std::wstring& path, DWORD error) {
    const std::lock_guard guard(lock_);
    nodes_.at(Key(path)).deletionError = error;
}

bool LinkVolume::IsLink(const std::wstring& path) const {
    const std::lock_guard guard(lock_);
    const auto node = nodes_.find(Key(path));
    return node != nodes_.end() && node->second.tag != 0;
}

std::filesystem::path LinkVolume::OnDisk(const std::wstring& path) const {
    return Resolve(path, false);
}

std::vector<std::wstring> LinkVolume::TakeLooks() {
    const std::lock_guard guard(lock_);
    return std::exchange(looks_, {});
}

LinkVolume::Node* LinkVolume::Find(const std::wstring& path) {
    const auto node = nodes_.find(Key(path));
    return node == nodes_.end() ? nullptr : &node->second;
}

std::wstring LinkVolume::Resolve(const std::wstring& path, bool followEnd) const {
    const std::lock_guard guard(lock_);
    std::wstring wanted = path;
    for (int links = 0; links <= LongestChain; ++links) {
        std::wstring named;
        std::wstring onDisk;
        std::optional<std::wstring> next;
        for (std::size_t begin = 0; begin < wanted.size() && !next;) {
            const std::size_t end = std::min(wanted.find(L'\\', begin + 1), wanted.size());
            named += wanted.substr(begin, end - begin);
            onDisk += wanted.substr(begin, end - begin);
            begin = end;
            const auto found = nodes_.find(Key(named));
            if (found == nodes_.end()) {
                continue;
            }
            const Node& node = found->second;
            const bool atEnd = Key(wanted) == found->first;
            const bool isName =
                node.tag == IO_REPARSE_TAG_MOUNT_POINT || node.tag == IO_REPARSE_TAG_SYMLINK;
            if (isName && (!atEnd || followEnd)) {
                next = node.target + wanted.substr(end);
            } else {
                onDisk = node.backing;
            }
        }
        if (!next) {
            return onDisk;
        }
        wanted = *next;
    }
    throw std::runtime_error("the links lead in a circle");
}

HANDLE LinkVolume::Open(const wchar_t* path, DWORD access, DWORD share,
                        SECURITY_ATTRIBUTES* attributes, DWORD disposition, DWORD flags,
                        HANDLE model) {
    const bool opensLink = (flags & FILE_FLAG_OPEN_REPARSE_POINT) != 0;
    const std::lock_guard guard(lock_);
    if (opensLink) {
        looks_.emplace_back(path);
        // Rights are those of the name itself. Its directory may be a link to another place.
        if (const auto denied = deniedNames_.find(Key(path)); denied != deniedNames_.end()) {
            ::SetLastError(denied->second);
            return INVALID_HANDLE_VALUE;
        }
    }
    const HANDLE handle = CreateFileWHook::Real(Resolve(path, !opensLink).c_str(), access, share,
                                                attributes, disposition, flags, model);
    if (handle != INVALID_HANDLE_VALUE && opensLink && Find(path) != nullptr) {
        openLinks_[handle] = path;
    }
    return handle;
}

BOOL LinkVolume::Control(HANDLE handle, DWORD code, void* input, DWORD inputSize, void* output,
                         DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped) {
    const std::lock_guard guard(lock_);
    const auto link = openLinks_.find(handle);
    if (link == openLinks_.end()) {
        return DeviceIoControlHook::Real(handle, code, input, inputSize, output, outputSize,
                                         returned, overlapped);
    }
    switch (code) {
        case FSCTL_GET_REPARSE_POINT:
            return Answer(Read(*Find(link->second), output, outputSize, returned));
        case FSCTL_DELETE_REPARSE_POINT:
            return Answer(Delete(link->second, input, inputSize));
        default:
            return Answer(ERROR_INVALID_FUNCTION);
    }
}

DWORD LinkVolume::Read(const Node& node, void* output, DWORD outputSize, DWORD* returned) {
    if (node.tag == 0) {
        return ERROR_NOT_A_REPARSE_POINT;
    }
    // Tag, data length, a reserved word, the data.
    const DWORD dataSize = static_cast<DWORD>(node.target.size() * sizeof(wchar_t));
    const DWORD size = 8 + dataSize;
    if (outputSize < size) {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    std::memset(output, 0, size);
    std::memcpy(output, &node.tag, sizeof(node.tag));
    std::memcpy(static_cast<char*>(output) + 4, &dataSize, 2);
    std::memcpy(static_cast<char*>(output) + 8, node.target.data(), dataSize);
    *returned = size;
    return ERROR_SUCCESS;
}

DWORD LinkVolume::Delete(const std::wstring& path, const void* input, DWORD inputSize) {
    if (beforeDeletion) {
        beforeDeletion(path);
    }
    Node& node = *Find(path);
    if (node.deletionError != 0) {
        return node.deletionError;
    }
    constexpr char Zero[DeletionHeaderSize] = {};
    if (inputSize != DeletionHeaderSize ||
        std::memcmp(static_cast<const char*>(input) + 4, Zero, DeletionHeaderSize - 4) != 0) {
        return ERROR_INVALID_REPARSE_DATA;
    }
    if (node.tag == 0) {
        return ERROR_NOT_A_REPARSE_POINT;
    }
    if (std::memcmp(input, &node.tag, sizeof(node.tag)) != 0) {
        return ERROR_REPARSE_TAG_MISMATCH;
    }
    node.tag = 0;
    return ERROR_SUCCESS;
}

}  // namespace test
