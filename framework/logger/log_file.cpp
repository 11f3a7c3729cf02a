#include "framework/logger/log_file.h"

#include <iterator>

#include "framework/system/wide_format.h"

namespace framework {
namespace {

constexpr wchar_t ByteOrderMark = 0xFEFF;

}  // namespace

LogFile CreateLogFile(const std::wstring& path) {
    const HANDLE handle = ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                        nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        const DWORD error = ::GetLastError();
        const std::wstring text =
            L"Creation new file: " + path + L" , error: " + DecimalText(error);
        ::OutputDebugStringW(text.c_str());
        return LogFile();
    }
    LogFile file(handle);
    if (!WriteBytes(file.Get(), &ByteOrderMark, sizeof(ByteOrderMark))) {
        file.Reset();
        ::OutputDebugStringW(L"Can't append byte order mark");
    }
    return file;
}

bool WriteBytes(HANDLE file, const void* data, std::uint32_t byteCount) noexcept {
    // This position means the current end of the file.
    OVERLAPPED endOfFile = {};
    endOfFile.Offset = 0xFFFFFFFF;
    endOfFile.OffsetHigh = 0xFFFFFFFF;
    constexpr const wchar_t* WriteFailed = L"Write operation failed, error: ";
    DWORD written = 0;
    wchar_t text[128];
    if (::WriteFile(file, data, byteCount, &written, &endOfFile) == FALSE) {
        PrintStrict(text, std::size(text), L"%s%lu", WriteFailed, ::GetLastError());
        ::OutputDebugStringW(text);
        return false;
    }
    if (written != byteCount) {
        PrintStrict(text, std::size(text), L"%s%lu%s%lu%s", WriteFailed, written,
                    L"(written bytes) != ", byteCount, L"(bytes to write)");
        ::OutputDebugStringW(text);
        return false;
    }
    return true;
}

bool WriteText(HANDLE file, std::wstring_view text) noexcept {
    return WriteBytes(file, text.data(), static_cast<std::uint32_t>(text.size() * sizeof(wchar_t)));
}

}  // namespace framework
