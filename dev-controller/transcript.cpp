#include "dev-controller/transcript.h"

#include <string>

#include "dev-controller/text_encoding.h"

namespace dev_controller {
namespace {

constexpr char Digits[] = "0123456789abcdef";
constexpr DWORD WriteLimit = 2000;

std::string HexText(std::uint64_t value) {
    std::string digits;
    do {
        digits.insert(digits.begin(), Digits[value & 0xF]);
        value >>= 4;
    } while (value != 0);
    return "0x" + digits;
}

}  // namespace

TranscriptLine& TranscriptLine::Word(std::string_view name, std::string_view word) {
    if (!text_.empty()) {
        text_ += ' ';
    }
    text_.append(name).append(1, '=').append(word);
    return *this;
}

TranscriptLine& TranscriptLine::Number(std::string_view name, std::int64_t value) {
    return Word(name, std::to_string(value));
}

TranscriptLine& TranscriptLine::Hex(std::string_view name, std::uint64_t value) {
    return Word(name, HexText(value));
}

TranscriptLine& TranscriptLine::Pointer(std::string_view name, const void* value) {
    return Hex(name, reinterpret_cast<std::uintptr_t>(value));
}

TranscriptLine& TranscriptLine::Quoted(std::string_view name, std::wstring_view text) {
    return Word(name, QuotedUtf8(text));
}

TranscriptLine& TranscriptLine::Quoted(std::string_view name, std::string_view text) {
    std::wstring wide;
    for (const char character : text) {
        wide += static_cast<wchar_t>(static_cast<unsigned char>(character));
    }
    return Word(name, QuotedUtf8(wide));
}

TranscriptLine& TranscriptLine::Bytes(std::string_view name, const void* bytes, std::size_t size) {
    const auto* first = static_cast<const unsigned char*>(bytes);
    std::string digits;
    for (std::size_t i = 0; i < size; ++i) {
        digits += Digits[first[i] >> 4];
        digits += Digits[first[i] & 0xF];
    }
    return Word(name, digits);
}

std::uint32_t Transcript::Open(const std::wstring& path) {
    constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    file_ = Handle(CreateFileW(path.c_str(), FILE_APPEND_DATA, ShareAll, nullptr, OPEN_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file_) {
        return GetLastError();
    }
    writeMutex_ = Handle(CreateMutexW(nullptr, FALSE, nullptr));
    return writeMutex_ ? 0 : GetLastError();
}

void Transcript::Write(const TranscriptLine& line) {
    if (!IsOpen()) {
        return;
    }
    const DWORD lastError = GetLastError();
    const std::string text =
        "seq=" + std::to_string(++sequence_) + " pid=" + std::to_string(GetCurrentProcessId()) +
        " tid=" + std::to_string(GetCurrentThreadId()) + ' ' + line.Text() + '\n';
    // After the time limit the line is written anyway: out of order is better than lost.
    const DWORD wait = WaitForSingleObject(writeMutex_.Get(), WriteLimit);
    DWORD written = 0;
    WriteFile(file_.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    if (wait == WAIT_OBJECT_0 || wait == WAIT_ABANDONED) {
        ReleaseMutex(writeMutex_.Get());
    }
    SetLastError(lastError);
}

}  // namespace dev_controller
