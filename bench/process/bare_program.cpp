// A program that only writes one small file and compresses it.

#include <zlib.h>

#include <string>

#include "bench/process/same_imports.h"
#include "framework/system/platform.h"

int main() {
    if (bench::UseSameImports()) {
        return 1;
    }
    wchar_t folder[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, folder);
    const std::wstring path =
        folder + std::wstring(L"bare-") + std::to_wstring(::GetCurrentProcessId());
    const std::string text(1200, 'x');
    DWORD written = 0;
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    ::WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    ::CloseHandle(file);
    const std::string target(path.begin(), path.end());
    const gzFile stream = ::gzopen((target + ".gz").c_str(), "wb");
    ::gzwrite(stream, text.data(), static_cast<unsigned>(text.size()));
    ::gzclose(stream);
    ::DeleteFileW(path.c_str());
    ::DeleteFileW((path + L".gz").c_str());
    return 0;
}
