/// A small volume with mount points and symbolic links, in place of the platform's calls.
#ifndef TESTS_FRAMEWORK_SYSTEM_VOLUME_MODEL_H
#define TESTS_FRAMEWORK_SYSTEM_VOLUME_MODEL_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/platform_hooks.h"

namespace test {

/// A name on the volume. Targets aren't stored, because nothing may use them.
struct Entry {
    std::optional<std::uint32_t> tag;  ///< none: a plain file or directory
    bool writable = true;
    std::size_t recordSize = 64;  ///< bytes that a read of the link returns
};

/// Handles the paths below "V:\" and leaves all others to the platform. Checks the constant
/// arguments, and records the calls in order: "open V:\link", "get 0x900A8", "delete 0x900AC",
/// "close".
class VolumeModel {
  public:
    static constexpr DWORD TagMismatch = 4394;
    static constexpr DWORD NotAReparsePoint = 4390;

    std::map<std::wstring, Entry> entries;
    std::vector<std::wstring> calls;
    std::vector<std::uint8_t> deleteInput;  ///< the input of the last delete
    std::optional<DWORD> deviceError;       ///< every device call fails with it
    bool closeFails = false;

    /// A handle to `path` without a call of the product.
    [[nodiscard]] HANDLE Open(const std::wstring& path);

  private:
    HANDLE Create(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                  DWORD disposition, DWORD flags, HANDLE pattern);
    BOOL Control(HANDLE handle, DWORD code, void* input, DWORD inputSize, void* output,
                 DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped);
    BOOL ReadLink(Entry& entry, void* output, DWORD* returned);
    BOOL DeleteLink(Entry& entry);
    BOOL Close(HANDLE handle);

    std::map<HANDLE, std::wstring> open_;
    std::uintptr_t nextHandle_ = 0x7A000001;

    ScopedHook<CreateFileWHook> create_{[this](auto... args) { return Create(args...); }};
    ScopedHook<DeviceIoControlHook> control_{[this](auto... args) { return Control(args...); }};
    ScopedHook<CloseHandleHook> close_{[this](HANDLE handle) { return Close(handle); }};
};

}  // namespace test

#endif  // TESTS_FRAMEWORK_SYSTEM_VOLUME_MODEL_H
