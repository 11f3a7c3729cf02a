#include "framework/system/registry_values.h"

#include "framework/system/platform.h"
#include "framework/system/trace.h"
#include "framework/system/unique_handle.h"

// The messages below name RegOpenKeyW although RegOpenKeyExW is called, and say "does it exist"
// for a missing key. This is meant: administrators search for these texts, so they don't change.

namespace framework {
namespace {

std::uint32_t ToStatus(LSTATUS status) {
    return static_cast<std::uint32_t>(status);
}

std::uint32_t OpenForWriting(const std::wstring& keyPath, RegistryKey& key) {
    return ToStatus(
        ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, keyPath.c_str(), 0, KEY_SET_VALUE, key.Receive()));
}

std::uint32_t CreateKey(const std::wstring& keyPath, const std::wstring& valueName,
                        RegistryKey& key) {
    const std::uint32_t status =
        ToStatus(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, keyPath.c_str(), 0, nullptr, 0,
                                   KEY_SET_VALUE, nullptr, key.Receive(), nullptr));
    if (status != ERROR_SUCCESS) {
        SystemTrace(TraceLevel,
                    L"SetDwordValueToRegistry (key=%s, valueName=%s): RegCreateKeyExW failed with "
                    L"error %lu",
                    keyPath.c_str(), valueName.c_str(), status);
        return status;
    }
    SystemTrace(TraceLevel, L"SetDwordValueToRegistry: key %s was created", keyPath.c_str());
    return status;
}

std::uint32_t OpenOrCreateKey(const std::wstring& keyPath, const std::wstring& valueName,
                              RegistryKey& key) {
    const std::uint32_t status = OpenForWriting(keyPath, key);
    if (status == ERROR_FILE_NOT_FOUND) {
        SystemTrace(TraceLevel,
                    L"SetDwordValueToRegistry (key=%s, valueName=%s): RegOpenKeyW cannot open key "
                    L"because it does it exist. Will create a key",
                    keyPath.c_str(), valueName.c_str());
        return CreateKey(keyPath, valueName, key);
    }
    if (status != ERROR_SUCCESS) {
        SystemTrace(TraceLevel,
                    L"SetDwordValueToRegistry(key=%s, valueName=%s): RegOpenKeyW failed with error "
                    L"%lu",
                    keyPath.c_str(), valueName.c_str(), status);
    }
    return status;
}

}  // namespace

std::uint32_t ReadDwordValueFromRegistry(const std::wstring& keyPath, const std::wstring& valueName,
                                         std::uint32_t& value) {
    RegistryKey key;
    std::uint32_t status =
        ToStatus(::RegOpenKeyW(HKEY_LOCAL_MACHINE, keyPath.c_str(), key.Receive()));
    if (status != ERROR_SUCCESS) {
        return status;
    }
    DWORD data = 0;
    DWORD size = sizeof(data);
    DWORD type = REG_NONE;
    status = ToStatus(::RegQueryValueExW(key.Get(), valueName.c_str(), nullptr, &type,
                                         reinterpret_cast<BYTE*>(&data), &size));
    if (status != ERROR_SUCCESS) {
        return status;
    }
    if (type != REG_DWORD) {
        return ERROR_INVALID_DATATYPE;
    }
    value = data;
    return ERROR_SUCCESS;
}

std::uint32_t GetDwordValueFromRegistry(const std::wstring& keyPath, const std::wstring& valueName,
                                        std::uint32_t defaultValue) {
    std::uint32_t value = 0;
    return ReadDwordValueFromRegistry(keyPath, valueName, value) == ERROR_SUCCESS ? value
                                                                                  : defaultValue;
}

std::uint32_t SetDwordValueToRegistry(const std::wstring& keyPath, const std::wstring& valueName,
                                      std::uint32_t value) {
    RegistryKey key;
    std::uint32_t status = OpenOrCreateKey(keyPath, valueName, key);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    status = ToStatus(::RegSetValueExW(key.Get(), valueName.c_str(), 0, REG_DWORD,
                                       reinterpret_cast<const BYTE*>(&value), sizeof(value)));
    if (status != ERROR_SUCCESS) {
        SystemTrace(TraceLevel,
                    L"SetDwordValueToRegistry: RegSetValueExW (key=%s, valueName=%s) failed with "
                    L"error %lu",
                    keyPath.c_str(), valueName.c_str(), status);
    } else {
        SystemTrace(TraceLevel,
                    L"SetDwordValueToRegistry: set success (key=%s, valueName=%s, value=%lu)",
                    keyPath.c_str(), valueName.c_str(), value);
    }
    return status;
}

std::uint32_t RemoveValueFromRegistry(const std::wstring& keyPath, const std::wstring& valueName) {
    RegistryKey key;
    std::uint32_t status = OpenForWriting(keyPath, key);
    if (status == ERROR_FILE_NOT_FOUND) {
        SystemTrace(TraceLevel,
                    L"RemoveValueFromRegistry (key=%s, valueName=%s): RegOpenKeyW cannot open key "
                    L"because it does it exist",
                    keyPath.c_str(), valueName.c_str());
        return ERROR_SUCCESS;
    }
    if (status != ERROR_SUCCESS) {
        return status;
    }
    status = ToStatus(::RegDeleteValueW(key.Get(), valueName.c_str()));
    if (status == ERROR_SUCCESS) {
        SystemTrace(TraceLevel, L"RemoveValueFromRegistry: success (key=%s, valueName=%s)",
                    keyPath.c_str(), valueName.c_str());
    } else {
        SystemTrace(TraceLevel,
                    L"RemoveValueFromRegistry (key=%s, valueName=%s): RegDeleteValueW failed with "
                    L"error %lu",
                    keyPath.c_str(), valueName.c_str(), status);
    }
    return status;
}

}  // namespace framework
