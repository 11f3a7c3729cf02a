#include "framework/system/reparse_point.h"

#include <winioctl.h>

#include <cstring>

namespace framework {
namespace {

constexpr std::size_t MaximumReparseDataSize = 16384;

std::uint32_t DeleteReparsePointByPath(const std::wstring& path, std::uint32_t tag) {
    FileHandle link;
    const std::uint32_t status = OpenReparsePoint(path, link);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    ReparsePointHeader header = {};
    header.ReparseTag = tag;
    return DeleteReparsePoint(link.Get(), &header);
}

}  // namespace

std::uint32_t OpenReparsePoint(const std::wstring& path, FileHandle& link) {
    link.Reset(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                             FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                             FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    return link ? ERROR_SUCCESS : ::GetLastError();
}

std::uint32_t GetReparsePointData(HANDLE handle, std::vector<std::byte>& buffer) {
    buffer.resize(MaximumReparseDataSize);
    DWORD returned = 0;
    if (::DeviceIoControl(handle, FSCTL_GET_REPARSE_POINT, nullptr, 0, buffer.data(),
                          static_cast<DWORD>(buffer.size()), &returned, nullptr) == FALSE) {
        return ::GetLastError();
    }
    buffer.resize(returned);
    return ERROR_SUCCESS;
}

std::uint32_t GetReparsePointDataByPath(const std::wstring& path, std::vector<std::byte>& buffer) {
    FileHandle link;
    const std::uint32_t status = OpenReparsePoint(path, link);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    return GetReparsePointData(link.Get(), buffer);
}

std::uint32_t DeleteReparsePoint(HANDLE handle, const ReparsePointHeader* header) {
    if (header == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    ReparsePointHeader input = *header;
    DWORD returned = 0;
    if (::DeviceIoControl(handle, FSCTL_DELETE_REPARSE_POINT, &input, sizeof(input), nullptr, 0,
                          &returned, nullptr) == FALSE) {
        return ::GetLastError();
    }
    return ERROR_SUCCESS;
}

std::uint32_t DeleteMountPoint(const std::wstring& path) {
    return DeleteReparsePointByPath(path, IO_REPARSE_TAG_MOUNT_POINT);
}

std::uint32_t DeleteSymbolicLink(const std::wstring& path) {
    return DeleteReparsePointByPath(path, IO_REPARSE_TAG_SYMLINK);
}

bool HasReparseTag(const std::wstring& path, std::uint32_t tag) {
    std::vector<std::byte> buffer;
    if (GetReparsePointDataByPath(path, buffer) != ERROR_SUCCESS || buffer.size() < sizeof(tag)) {
        return false;
    }
    std::uint32_t found = 0;
    std::memcpy(&found, buffer.data(), sizeof(found));
    return found == tag;
}

bool IsMountPoint(const std::wstring& path) {
    return HasReparseTag(path, IO_REPARSE_TAG_MOUNT_POINT);
}

bool IsSymbolicLink(const std::wstring& path) {
    return HasReparseTag(path, IO_REPARSE_TAG_SYMLINK);
}

}  // namespace framework
