#include "dev-controller/import_patch.h"

#include <cstring>

#include "dev-controller/platform.h"

namespace dev_controller {
namespace {

/// An address inside the executable's image.
template <typename T>
T* At(HMODULE module, ULONGLONG offset) {
    void* address = reinterpret_cast<char*>(module) + offset;
    return static_cast<T*>(address);
}

const IMAGE_IMPORT_DESCRIPTOR* FirstDescriptor(HMODULE module) {
    const auto* dos = At<const IMAGE_DOS_HEADER>(module, 0);
    const auto* headers = At<const IMAGE_NT_HEADERS>(module, static_cast<ULONGLONG>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& imports =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    return imports.Size == 0 ? nullptr
                             : At<const IMAGE_IMPORT_DESCRIPTOR>(module, imports.VirtualAddress);
}

bool Names(HMODULE module, const IMAGE_THUNK_DATA& entry, const char* function) {
    if (IMAGE_SNAP_BY_ORDINAL(entry.u1.Ordinal)) {
        return false;
    }
    const auto* byName = At<const IMAGE_IMPORT_BY_NAME>(module, entry.u1.AddressOfData);
    return std::strcmp(reinterpret_cast<const char*>(byName->Name), function) == 0;
}

/// A descriptor's name list and address list have the same order; the loader overwrote the second.
void** FindIn(HMODULE module, const IMAGE_IMPORT_DESCRIPTOR& descriptor, const char* function) {
    if (descriptor.OriginalFirstThunk == 0) {
        return nullptr;
    }
    const auto* names = At<const IMAGE_THUNK_DATA>(module, descriptor.OriginalFirstThunk);
    auto* addresses = At<void*>(module, descriptor.FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
        if (Names(module, *names, function)) {
            return addresses;
        }
    }
    return nullptr;
}

}  // namespace

void** FindExecutableImport(const char* function) {
    const HMODULE module = GetModuleHandleW(nullptr);
    const IMAGE_IMPORT_DESCRIPTOR* descriptor = FirstDescriptor(module);
    for (; descriptor != nullptr && descriptor->Name != 0; ++descriptor) {
        if (void** word = FindIn(module, *descriptor, function)) {
            return word;
        }
    }
    return nullptr;
}

void* ReplaceImport(void** word, void* replacement) {
    DWORD oldProtection = 0;
    if (!VirtualProtect(word, sizeof(*word), PAGE_READWRITE, &oldProtection)) {
        return nullptr;
    }
    void* original = InterlockedExchangePointer(word, replacement);
    DWORD ignored = 0;
    VirtualProtect(word, sizeof(*word), oldProtection, &ignored);
    return original;
}

}  // namespace dev_controller
