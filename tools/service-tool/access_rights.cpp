#include "tools/service-tool/access_rights.h"

#include <aclapi.h>
#include <sddl.h>

#include <array>

#include "framework/system/unique_handle.h"
#include "tools/service-tool/folder_tree.h"

namespace service_tool {
namespace {

struct LocalMemoryTraits {
    using Type = void*;
    static Type Invalid() noexcept { return nullptr; }
    static void Close(Type memory) noexcept { ::LocalFree(memory); }
};
using LocalMemory = framework::UniqueHandle<LocalMemoryTraits>;

constexpr const wchar_t* FolderRights = L"O:BAD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)";
/// Has no entries, so everything is inherited.
constexpr const wchar_t* ContentRights = L"O:BAD:";

/// Owner and access list from a string, in one block of memory.
class Descriptor {
  public:
    explicit Descriptor(const wchar_t* text) {
        if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1,
                                                                    memory_.Receive(), nullptr)) {
            error_ = ::GetLastError();
            return;
        }
        BOOL present = FALSE;
        BOOL defaulted = FALSE;
        if (!::GetSecurityDescriptorOwner(memory_.Get(), &owner_, &defaulted) ||
            !::GetSecurityDescriptorDacl(memory_.Get(), &present, &list_, &defaulted)) {
            error_ = ::GetLastError();
        }
    }

    [[nodiscard]] DWORD Error() const noexcept { return error_; }
    [[nodiscard]] PSID Owner() const noexcept { return owner_; }
    [[nodiscard]] PACL List() const noexcept { return list_; }

  private:
    LocalMemory memory_;
    PSID owner_ = nullptr;
    PACL list_ = nullptr;
    DWORD error_ = ERROR_SUCCESS;
};

framework::FileHandle OpenItself(const std::wstring& path, DWORD access) {
    return framework::FileHandle(::CreateFileW(
        path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

/// A privilege that the account lacks stays disabled; the call that needs it then fails.
void SwitchPrivilegesOn() {
    framework::KernelHandle token;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, token.Receive())) {
        return;
    }
    for (const wchar_t* name : {SE_TAKE_OWNERSHIP_NAME, SE_RESTORE_NAME, SE_BACKUP_NAME}) {
        TOKEN_PRIVILEGES privileges = {};
        privileges.PrivilegeCount = 1;
        privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
        if (::LookupPrivilegeValueW(nullptr, name, &privileges.Privileges[0].Luid)) {
            ::AdjustTokenPrivileges(token.Get(), FALSE, &privileges, 0, nullptr, nullptr);
        }
    }
}

DWORD TakeOwnership(const std::wstring& path, const Descriptor& wanted) {
    const framework::FileHandle file = OpenItself(path, WRITE_OWNER);
    if (!file) {
        return ::GetLastError();
    }
    return ::SetSecurityInfo(file.Get(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, wanted.Owner(),
                             nullptr, nullptr, nullptr);
}

/// Opens the folder again: the right to change the list comes with the ownership.
DWORD SetList(const std::wstring& path, const Descriptor& wanted, DWORD protection) {
    const framework::FileHandle file = OpenItself(path, READ_CONTROL | WRITE_DAC);
    if (!file) {
        return ::GetLastError();
    }
    return ::SetSecurityInfo(file.Get(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | protection,
                             nullptr, nullptr, wanted.List(), nullptr);
}

DWORD Apply(const std::wstring& path, const Descriptor& wanted, DWORD protection) {
    const DWORD error = TakeOwnership(path, wanted);
    return error != ERROR_SUCCESS ? error : SetList(path, wanted, protection);
}

}  // namespace

DWORD ReadRights(const std::wstring& folder, std::wstring& rights) {
    constexpr DWORD Parts = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    const framework::FileHandle file = OpenItself(folder, READ_CONTROL);
    if (!file) {
        return ::GetLastError();
    }
    LocalMemory descriptor;
    const DWORD error = ::GetSecurityInfo(file.Get(), SE_FILE_OBJECT, Parts, nullptr, nullptr,
                                          nullptr, nullptr, descriptor.Receive());
    if (error != ERROR_SUCCESS) {
        return error;
    }
    LocalMemory text;
    if (!::ConvertSecurityDescriptorToStringSecurityDescriptorW(
            descriptor.Get(), SDDL_REVISION_1, Parts, reinterpret_cast<wchar_t**>(text.Receive()),
            nullptr)) {
        return ::GetLastError();
    }
    rights = static_cast<const wchar_t*>(text.Get());
    return ERROR_SUCCESS;
}

bool IsRestricted(std::wstring_view rights) {
    constexpr std::wstring_view System = L"(A;OICI;FA;;;SY)";
    constexpr std::wstring_view Administrators = L"(A;OICI;FA;;;BA)";
    constexpr std::array<std::wstring_view, 2> Heads = {L"O:BAD:PAI", L"O:BAD:P"};
    for (const std::wstring_view head : Heads) {
        const std::wstring either = std::wstring(head).append(System).append(Administrators);
        const std::wstring other = std::wstring(head).append(Administrators).append(System);
        if (rights == either || rights == other) {
            return true;
        }
    }
    return false;
}

DWORD RestrictFolder(const std::wstring& folder) {
    const Descriptor ofFolder(FolderRights);
    const Descriptor ofContents(ContentRights);
    if (ofFolder.Error() != ERROR_SUCCESS || ofContents.Error() != ERROR_SUCCESS) {
        return ofFolder.Error() != ERROR_SUCCESS ? ofFolder.Error() : ofContents.Error();
    }
    if (IsLink(folder)) {
        return ERROR_CANT_ACCESS_FILE;
    }
    SwitchPrivilegesOn();
    const DWORD error = Apply(folder, ofFolder, PROTECTED_DACL_SECURITY_INFORMATION);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    // From here on other users can't add anything.
    return VisitTree(folder, false, [&](const std::wstring& path, DWORD) {
        return Apply(path, ofContents, UNPROTECTED_DACL_SECURITY_INFORMATION);
    });
}

}  // namespace service_tool
