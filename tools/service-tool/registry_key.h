/// Values below HKEY_LOCAL_MACHINE. Errors are Win32 codes, 0 for success. Thread-safe.
#ifndef TOOLS_SERVICE_TOOL_REGISTRY_KEY_H
#define TOOLS_SERVICE_TOOL_REGISTRY_KEY_H

#include <optional>
#include <string>

#include "framework/system/platform.h"

namespace service_tool {

[[nodiscard]] bool KeyExists(const std::wstring& key);

/// The value's REG_ type; nothing if it doesn't exist.
[[nodiscard]] std::optional<DWORD> ValueType(const std::wstring& key, const std::wstring& name);

/// Nothing unless the value exists and is a REG_DWORD.
[[nodiscard]] std::optional<DWORD> ReadNumber(const std::wstring& key, const std::wstring& name);

/// The text as stored, without expansion. Nothing unless it is a REG_SZ or REG_EXPAND_SZ.
[[nodiscard]] std::optional<std::wstring> ReadText(const std::wstring& key,
                                                   const std::wstring& name);

// These create the key if it is missing.
[[nodiscard]] DWORD WriteNumber(const std::wstring& key, const std::wstring& name, DWORD value);
[[nodiscard]] DWORD WriteExpandText(const std::wstring& key, const std::wstring& name,
                                    const std::wstring& text);

/// Deletes the key and its contents. A missing key is success.
[[nodiscard]] DWORD DeleteKey(const std::wstring& key);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_REGISTRY_KEY_H
