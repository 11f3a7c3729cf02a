#include "framework/system/unique_handle.h"

namespace framework {

void KernelHandleTraits::Close(Type handle) noexcept {
    ::CloseHandle(handle);
}

void FileHandleTraits::Close(Type handle) noexcept {
    ::CloseHandle(handle);
}

void RegistryKeyTraits::Close(Type key) noexcept {
    ::RegCloseKey(key);
}

void EventSourceTraits::Close(Type source) noexcept {
    ::DeregisterEventSource(source);
}

}  // namespace framework
