#include "tests/support/elevation.h"

#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"

namespace test {
namespace {

/// What the native interface takes to replace a process's token.
struct ProcessAccessToken {
    HANDLE token;
    HANDLE thread;
};
constexpr int ProcessAccessTokenClass = 9;

using SetInformationProcess = LONG(NTAPI*)(HANDLE, int, void*, ULONG);

/// The administrator's token beside the process's own; none if that one is elevated.
framework::KernelHandle LinkedToken() {
    framework::KernelHandle own;
    TOKEN_ELEVATION elevation = {};
    TOKEN_LINKED_TOKEN linked = {};
    DWORD size = 0;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, own.Receive()) ||
        !::GetTokenInformation(own.Get(), TokenElevation, &elevation, sizeof(elevation), &size) ||
        elevation.TokenIsElevated != 0 ||
        !::GetTokenInformation(own.Get(), TokenLinkedToken, &linked, sizeof(linked), &size)) {
        return framework::KernelHandle();
    }
    return framework::KernelHandle(linked.LinkedToken);
}

}  // namespace

void TakeAdministratorRightsOnWine() {
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    if (::GetProcAddress(ntdll, "wine_get_version") == nullptr) {
        return;
    }
    const framework::KernelHandle linked = LinkedToken();
    framework::KernelHandle primary;
    if (!linked || !::DuplicateTokenEx(linked.Get(), TOKEN_ALL_ACCESS, nullptr, SecurityAnonymous,
                                       TokenPrimary, primary.Receive())) {
        return;
    }
    const auto set = reinterpret_cast<SetInformationProcess>(
        reinterpret_cast<void*>(::GetProcAddress(ntdll, "NtSetInformationProcess")));
    ProcessAccessToken replacement = {primary.Get(), nullptr};
    set(::GetCurrentProcess(), ProcessAccessTokenClass, &replacement, sizeof(replacement));
}

}  // namespace test
