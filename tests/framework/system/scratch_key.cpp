#include "tests/framework/system/scratch_key.h"

#include <cstring>
#include <ostream>
#include <system_error>

#include "tests/support/platform_hooks.h"
#include "tests/support/unique_name.h"

namespace test {
namespace {

void Require(LSTATUS status, const char* call) {
    if (status != ERROR_SUCCESS) {
        throw std::system_error(static_cast<int>(status), std::system_category(), call);
    }
}

class OpenKey {
  public:
    explicit OpenKey(const std::wstring& path) {
        Require(RegCreateKeyExWHook::Real(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0,
                                          KEY_ALL_ACCESS, nullptr, &key_, nullptr),
                "RegCreateKeyExW");
    }
    ~OpenKey() { RegCloseKeyHook::Real(key_); }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    [[nodiscard]] HKEY Get() const noexcept { return key_; }

  private:
    HKEY key_ = nullptr;
};

}  // namespace

void PrintTo(const RegistryValue& value, std::ostream* out) {
    *out << "type " << value.type << ", " << value.data.size() << " bytes";
}

RegistryValue DwordValue(std::uint32_t number) {
    RegistryValue value = {REG_DWORD, std::vector<BYTE>(sizeof(number))};
    std::memcpy(value.data.data(), &number, sizeof(number));
    return value;
}

RegistryValue TextValue(const std::wstring& text) {
    RegistryValue value = {REG_SZ, std::vector<BYTE>((text.size() + 1) * sizeof(wchar_t))};
    std::memcpy(value.data.data(), text.c_str(), value.data.size());
    return value;
}

ScratchKey::ScratchKey() : path_(L"SOFTWARE\\" + UniqueName(L"tarnwick-test")) {}

ScratchKey::~ScratchKey() {
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, path_.c_str());
}

void ScratchKey::Create(const std::wstring& subkey) const {
    const OpenKey key(subkey.empty() ? path_ : path_ + L'\\' + subkey);
}

bool ScratchKey::Exists() const {
    HKEY key = nullptr;
    if (RegOpenKeyExWHook::Real(HKEY_LOCAL_MACHINE, path_.c_str(), 0, KEY_READ, &key) !=
        ERROR_SUCCESS) {
        return false;
    }
    RegCloseKeyHook::Real(key);
    return true;
}

void ScratchKey::Set(const std::wstring& name, const RegistryValue& value,
                     const std::wstring& subkey) const {
    const OpenKey key(subkey.empty() ? path_ : path_ + L'\\' + subkey);
    Require(RegSetValueExWHook::Real(key.Get(), name.c_str(), 0, value.type, value.data.data(),
                                     static_cast<DWORD>(value.data.size())),
            "RegSetValueExW");
}

void ScratchKey::Delete(const std::wstring& name) const {
    const OpenKey key(path_);
    Require(RegDeleteValueWHook::Real(key.Get(), name.c_str()), "RegDeleteValueW");
}

std::optional<RegistryValue> ScratchKey::Get(const std::wstring& name) const {
    const OpenKey key(path_);
    DWORD size = 0;
    if (RegQueryValueExWHook::Real(key.Get(), name.c_str(), nullptr, nullptr, nullptr, &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    RegistryValue value = {REG_NONE, std::vector<BYTE>(size)};
    Require(RegQueryValueExWHook::Real(key.Get(), name.c_str(), nullptr, &value.type,
                                       value.data.data(), &size),
            "RegQueryValueExW");
    return value;
}

}  // namespace test
