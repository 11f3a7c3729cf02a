#include "tests/framework/system/volume_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace test {
namespace {

constexpr std::wstring_view Root = L"V:\\";
constexpr DWORD GetCode = 0x900A8;
constexpr DWORD DeleteCode = 0x900AC;

BOOL Fail(DWORD error) {
    ::SetLastError(error);
    return FALSE;
}

}  // namespace

HANDLE VolumeModel::Open(const std::wstring& path) {
    const auto handle = reinterpret_cast<HANDLE>(nextHandle_++);
    open_[handle] = path;
    return handle;
}

HANDLE VolumeModel::Create(const wchar_t* path, DWORD access, DWORD share,
                           SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                           HANDLE pattern) {
    if (!std::wstring_view(path).starts_with(Root)) {
        return CreateFileWHook::Real(path, access, share, security, disposition, flags, pattern);
    }
    calls.push_back(std::wstring(L"open ") + path);
    EXPECT_EQ(access, 0xC0000000U);
    EXPECT_EQ(share, 3U);
    EXPECT_EQ(security, nullptr);
    EXPECT_EQ(disposition, 3U);
    EXPECT_EQ(flags, 0x2200000U);
    EXPECT_EQ(pattern, nullptr);
    const auto entry = entries.find(path);
    if (entry == entries.end()) {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    if (!entry->second.writable) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    return Open(path);
}

BOOL VolumeModel::Control(HANDLE handle, DWORD code, void* input, DWORD inputSize, void* output,
                          DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped) {
    const auto opened = open_.find(handle);
    if (opened == open_.end()) {
        ADD_FAILURE() << "a device call on a handle that isn't open";
        return Fail(ERROR_INVALID_HANDLE);
    }
    EXPECT_EQ(overlapped, nullptr);
    // Without an overlapped record the platform writes through this pointer.
    EXPECT_NE(returned, nullptr);
    Entry& entry = entries[opened->second];
    if (code == GetCode) {
        calls.emplace_back(L"get 0x900A8");
        EXPECT_EQ(input, nullptr);
        EXPECT_EQ(inputSize, 0U);
        EXPECT_EQ(outputSize, 16384U);
        return ReadLink(entry, output, returned);
    }
    EXPECT_EQ(code, DeleteCode);
    calls.emplace_back(L"delete 0x900AC");
    EXPECT_EQ(output, nullptr);
    EXPECT_EQ(outputSize, 0U);
    deleteInput.resize(inputSize);
    std::memcpy(deleteInput.data(), input, inputSize);
    return DeleteLink(entry);
}

BOOL VolumeModel::ReadLink(Entry& entry, void* output, DWORD* returned) {
    if (deviceError || !entry.tag) {
        return Fail(deviceError.value_or(NotAReparsePoint));
    }
    std::memset(output, 0x5A, entry.recordSize);
    std::memcpy(output, &*entry.tag, std::min(sizeof(*entry.tag), entry.recordSize));
    *returned = static_cast<DWORD>(entry.recordSize);
    return TRUE;
}

BOOL VolumeModel::DeleteLink(Entry& entry) {
    std::uint32_t tag = 0;
    std::memcpy(&tag, deleteInput.data(), std::min(sizeof(tag), deleteInput.size()));
    if (deviceError || !entry.tag) {
        return Fail(deviceError.value_or(NotAReparsePoint));
    }
    if (*entry.tag != tag) {
        return Fail(TagMismatch);
    }
    entry.tag.reset();
    return TRUE;
}

BOOL VolumeModel::Close(HANDLE handle) {
    if (open_.erase(handle) == 0) {
        return CloseHandleHook::Real(handle);
    }
    calls.emplace_back(L"close");
    // The last error that a close leaves must never become the result of the call before it.
    ::SetLastError(ERROR_INVALID_HANDLE);
    return closeFails ? FALSE : TRUE;
}

}  // namespace test
