/// A key of the real registry for one test.
#ifndef TESTS_FRAMEWORK_SYSTEM_SCRATCH_KEY_H
#define TESTS_FRAMEWORK_SYSTEM_SCRATCH_KEY_H

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "framework/system/platform.h"

namespace test {

/// A value as stored in the registry.
struct RegistryValue {
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
    bool operator==(const RegistryValue&) const = default;
};

void PrintTo(const RegistryValue& value, std::ostream* out);

[[nodiscard]] RegistryValue DwordValue(std::uint32_t number);
[[nodiscard]] RegistryValue TextValue(const std::wstring& text);

/// A path below `HKEY_LOCAL_MACHINE` that no other test and no other process uses; removed with its
/// subkeys at the end. Calls the platform directly, past any hooks. Throws if the platform refuses.
class ScratchKey {
  public:
    /// Doesn't create the key; see `Create`.
    ScratchKey();
    ~ScratchKey();
    ScratchKey(const ScratchKey&) = delete;
    ScratchKey& operator=(const ScratchKey&) = delete;

    [[nodiscard]] const std::wstring& Path() const noexcept { return path_; }
    /// Creates the key, or one below it.
    void Create(const std::wstring& subkey = L"") const;
    [[nodiscard]] bool Exists() const;
    /// Sets a value of the key, or of one below it. Creates the key if it is missing.
    void Set(const std::wstring& name, const RegistryValue& value,
             const std::wstring& subkey = L"") const;
    void Set(const std::wstring& name, std::uint32_t number) const {
        Set(name, DwordValue(number));
    }
    void Delete(const std::wstring& name) const;
    [[nodiscard]] std::optional<RegistryValue> Get(const std::wstring& name) const;

  private:
    std::wstring path_;
};

}  // namespace test

#endif  // TESTS_FRAMEWORK_SYSTEM_SCRATCH_KEY_H
