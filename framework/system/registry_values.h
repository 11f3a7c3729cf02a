/// 32-bit values below `HKEY_LOCAL_MACHINE`, the only root that this layer touches. Nothing in this
/// program sets or removes one; those two are part of the framework for those who build on it.
///
/// Each call opens and closes the key by itself and may run on any thread. A status is 0 or a Win32
/// error code.
#ifndef FRAMEWORK_SYSTEM_REGISTRY_VALUES_H
#define FRAMEWORK_SYSTEM_REGISTRY_VALUES_H

#include <cstdint>
#include <string>

namespace framework {

/// Reads a `REG_DWORD` into `value`, which is written on success only. A value of another type
/// gives 1804 (`ERROR_INVALID_DATATYPE`), or the error of the query if it is longer than four
/// bytes. Logs nothing.
[[nodiscard]] std::uint32_t ReadDwordValueFromRegistry(const std::wstring& keyPath,
                                                       const std::wstring& valueName,
                                                       std::uint32_t& value);

/// The value, or `defaultValue` if it can't be read for any reason. Logs nothing.
[[nodiscard]] std::uint32_t GetDwordValueFromRegistry(const std::wstring& keyPath,
                                                      const std::wstring& valueName,
                                                      std::uint32_t defaultValue);

/// Writes a `REG_DWORD`, making the key if it is missing. Every step, failures too, is logged at
/// trace level: what an error means is for the caller to say.
[[nodiscard]] std::uint32_t SetDwordValueToRegistry(const std::wstring& keyPath,
                                                    const std::wstring& valueName,
                                                    std::uint32_t value);

/// Deletes a value. A missing key is success (0), a missing value in an existing key is not (2).
/// Logs at trace level, but nothing when the key can't be opened for another reason.
[[nodiscard]] std::uint32_t RemoveValueFromRegistry(const std::wstring& keyPath,
                                                    const std::wstring& valueName);

}  // namespace framework

#endif  // FRAMEWORK_SYSTEM_REGISTRY_VALUES_H
