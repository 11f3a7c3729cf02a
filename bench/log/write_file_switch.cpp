#include "bench/log/write_file_switch.h"

#include "framework/system/platform.h"

namespace {

using WriteFileFunction = decltype(&::WriteFile);

BOOL WINAPI FirstWriteFile(HANDLE file, const void* data, DWORD size, DWORD* written,
                           OVERLAPPED* position);

BOOL WINAPI EmptyWriteFile(HANDLE /*file*/, const void* /*data*/, DWORD size, DWORD* written,
                           OVERLAPPED* /*position*/) {
    *written = size;
    return TRUE;
}

}  // namespace

extern "C" {
WriteFileFunction __imp_WriteFile = &FirstWriteFile;
}

namespace {

WriteFileFunction RealWriteFile() {
    static const auto real = reinterpret_cast<WriteFileFunction>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("kernel32.dll"), "WriteFile")));
    return real;
}

/// Installs the real function at the first call, so that later calls cost the same as in the
/// product.
BOOL WINAPI FirstWriteFile(HANDLE file, const void* data, DWORD size, DWORD* written,
                           OVERLAPPED* position) {
    __imp_WriteFile = RealWriteFile();
    return __imp_WriteFile(file, data, size, written, position);
}

}  // namespace

namespace bench {

NoWriteFile::NoWriteFile() {
    __imp_WriteFile = &EmptyWriteFile;
}
NoWriteFile::~NoWriteFile() {
    __imp_WriteFile = RealWriteFile();
}

}  // namespace bench
