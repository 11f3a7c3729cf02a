#include "tools/service-tool/registry_key.h"

#include "framework/system/unique_handle.h"

namespace service_tool {
namespace {

framework::RegistryKey Open(const std::wstring& key) {
    framework::RegistryKey opened;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_QUERY_VALUE, opened.Receive()) !=
        ERROR_SUCCESS) {
        opened.Reset();
    }
    return opened;
}

DWORD Write(const std::wstring& key, const std::wstring& name, DWORD type, const void* data,
            DWORD size) {
    framework::RegistryKey opened;
    const LSTATUS status =
        ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                          KEY_SET_VALUE, nullptr, opened.Receive(), nullptr);
    if (status != ERROR_SUCCESS) {
        return static_cast<DWORD>(status);
    }
    return static_cast<DWORD>(::RegSetValueExW(opened.Get(), name.c_str(), 0, type,
                                               static_cast<const BYTE*>(data), size));
}

}  // namespace

bool KeyExists(const std::wstring& key) {
    return static_cast<bool>(Open(key));
}

std::optional<DWORD> ValueType(const std::wstring& key, const std::wstring& name) {
    const framework::RegistryKey opened = Open(key);
    DWORD type = 0;
    if (!opened || ::RegQueryValueExW(opened.Get(), name.c_str(), nullptr, &type, nullptr,
                                      nullptr) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    return type;
}

std::optional<DWORD> ReadNumber(const std::wstring& key, const std::wstring& name) {
    DWORD value = 0;
    DWORD size = sizeof(value);
    if (::RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name.c_str(), RRF_RT_REG_DWORD, nullptr,
                       &value, &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::wstring> ReadText(const std::wstring& key, const std::wstring& name) {
    constexpr DWORD Flags = RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;
    DWORD size = 0;
    if (::RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name.c_str(), Flags, nullptr, nullptr,
                       &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    std::wstring text(size / sizeof(wchar_t) + 1, L'\0');
    size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    if (::RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name.c_str(), Flags, nullptr, text.data(),
                       &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    text.resize(text.find(L'\0'));
    return text;
}

DWORD WriteNumber(const std::wstring& key, const std::wstring& name, DWORD value) {
    return Write(key, name, REG_DWORD, &value, sizeof(value));
}

DWORD WriteExpandText(const std::wstring& key, const std::wstring& name, const std::wstring& text) {
    return Write(key, name, REG_EXPAND_SZ, text.c_str(),
                 static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

DWORD DeleteKey(const std::wstring& key) {
    const LSTATUS status = ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, key.c_str());
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : static_cast<DWORD>(status);
}

}  // namespace service_tool
