/// `REG_DWORD` values below `HKEY_LOCAL_MACHINE`.
///
/// Thread-safe. Each call opens and closes its own key. A status is 0 or a Win32 error code.
#ifndef FRAMEWORK_SYSTEM_REGISTRY_VALUES_H
#define FRAMEWORK_SYSTEM_REGISTRY_VALUES_H

#include <cstdint>
#include <string>

namespace framework {

/// Reads a `REG_DWORD` into `value`, which is written only on success. A value of another type
/// returns 1804 (`ERROR_INVALID_DATATYPE`), or the query's error if it is longer than four bytes.
/// Logs nothing.
[[nodiscard]] std::uint32_t ReadDwordValueFromRegistry(const std::wstring& keyPath,
                                                       const std::wstring& valueName,
                                                       std::uint32_t& value);

/// Returns the value, or `defaultValue` if the read fails for any reason. Logs nothing.
[[nodiscard]] std::uint32_t GetDwordValueFromRegistry(const std::wstring& keyPath,
                                                      const std::wstring& valueName,
                                                      std::uint32_t defaultValue);

/// Writes a `REG_DWORD`; creates the key if it is missing. Logs every step, failures included, at
/// trace level: only the caller knows whether a failure is an error.
[[nodiscard]] std::uint32_t SetDwordValueToRegistry(const std::wstring& keyPath,
                                                    const std::wstring& valueName,
                                                    std::uint32_t value);

/// Deletes a value. Returns 0 if the key is missing, but 2 (`ERROR_FILE_NOT_FOUND`) if only the
/// value is. Logs at trace level; if opening the key fails for another reason, logs nothing.
[[nodiscard]] std::uint32_t RemoveValueFromRegistry(const std::wstring& keyPath,
                                                    const std::wstring& valueName);

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_REGISTRY_VALUES_H
